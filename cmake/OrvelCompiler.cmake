# Compiler settings shared by every Orvel target.

find_program(ORVEL_CCACHE ccache)
if(ORVEL_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${ORVEL_CCACHE})
endif()

# Warnings apply to our own targets only; third-party code (JUCE) is built with -w.
function(orvel_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

if(ORVEL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# Defines every Orvel library the same way: a static library with warnings on and its own folder
# as the public include root, so headers are included as "core/document/model/Project.h" style paths
# relative to src/.
function(orvel_add_library target)
  add_library(${target} STATIC ${ARGN})
  orvel_set_warnings(${target})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

# JUCE's dsp module and the core modules it needs, compiled once as one static library with
# JUCE's own warnings silenced. EXCLUDE_FROM_ALL: it is only built when a target links it, so
# its four large translation units never slow down builds that do not use audio effects.
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
set(ORVEL_JUCE_MODULES_DIR /usr/share/juce/modules CACHE PATH "Folder holding the JUCE modules")

add_library(juce_dsp_static STATIC EXCLUDE_FROM_ALL
  ${ORVEL_JUCE_MODULES_DIR}/juce_core/juce_core.cpp
  ${ORVEL_JUCE_MODULES_DIR}/juce_audio_basics/juce_audio_basics.cpp
  ${ORVEL_JUCE_MODULES_DIR}/juce_audio_formats/juce_audio_formats.cpp
  ${ORVEL_JUCE_MODULES_DIR}/juce_dsp/juce_dsp.cpp)
set_target_properties(juce_dsp_static PROPERTIES UNITY_BUILD OFF AUTOMOC OFF)
target_include_directories(juce_dsp_static SYSTEM PUBLIC ${ORVEL_JUCE_MODULES_DIR})
target_compile_definitions(juce_dsp_static PUBLIC
  JUCE_GLOBAL_MODULE_SETTINGS_INCLUDED=1 JUCE_STANDALONE_APPLICATION=1 JUCE_USE_CURL=0 JUCE_WEB_BROWSER=0
  JUCE_USE_FLAC=0 JUCE_USE_OGGVORBIS=0 JUCE_USE_MP3AUDIOFORMAT=0 JUCE_USE_LAME_AUDIO_FORMAT=0
  JUCE_USE_WINDOWS_MEDIA_FORMAT=0 JUCE_DISABLE_JUCE_VERSION_PRINTING=1
  JUCE_MODULE_AVAILABLE_juce_core=1 JUCE_MODULE_AVAILABLE_juce_audio_basics=1
  JUCE_MODULE_AVAILABLE_juce_audio_formats=1 JUCE_MODULE_AVAILABLE_juce_dsp=1 JUCE_DONT_DECLARE_PROJECTINFO=1
  $<$<CONFIG:Debug>:DEBUG=1 _DEBUG=1> $<$<NOT:$<CONFIG:Debug>>:NDEBUG=1>)
target_link_libraries(juce_dsp_static PUBLIC ZLIB::ZLIB Threads::Threads ${CMAKE_DL_LIBS} rt)
target_compile_options(juce_dsp_static PRIVATE -w)

// A command-line tool or a test may run the back end under a plain QCoreApplication. The GL
// runtime then says GL is unavailable, once, instead of trying to make a surface without a
// windowing system.
#include "GlRuntimeTestSupport.h"

namespace {

TEST(GlRuntimeUnderCoreApplication, ReportsUnavailableOnceAndRefusesJobs)
{
    orvel::test::WarningCapture warnings;
    GlRuntime &gl = GlRuntime::instance();
    EXPECT_FALSE(gl.ensureStarted());
    EXPECT_FALSE(gl.ensureStarted());
    EXPECT_EQ(warnings.startingWith("GlRuntime: "),
              QStringList{QStringLiteral("GlRuntime: no QGuiApplication; OpenGL unavailable")});
    bool ran = false;
    EXPECT_FALSE(gl.run([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
    gl.shutdown();
}

} // namespace

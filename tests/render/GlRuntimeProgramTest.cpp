// Built-in and pipeline programs: caching, failure messages and retries.
#include "GlRuntimeTestSupport.h"

#include "render/gl/GlShaders.h"

#include <QOpenGLExtraFunctions>
#include <QOpenGLShaderProgram>

namespace {

using orvel::test::GlRuntimeTest;
using orvel::test::readBack;
using orvel::test::storedRgba;
using orvel::test::WarningCapture;

const char *const kBrokenFragment = "#version 330 core\nout vec4 fragColor;\n"
                                    "void main() { fragColor = notDeclaredAnywhere; }\n";
// Compiles, but the call has nothing to link against.
const char *const kUnlinkableFragment = "#version 330 core\nout vec4 fragColor;\nvec4 missing();\n"
                                        "void main() { fragColor = missing(); }\n";

QString solidFragment(const char *rgba)
{
    return QStringLiteral("#version 330 core\nin vec2 v_texCoord;\nout vec4 fragColor;\n"
                          "void main() { fragColor = vec4(%1); }\n")
        .arg(QLatin1String(rgba));
}

// Stands in for the package catalog's pipeline type, which reaches the runtime through the
// template overload.
struct CatalogPass
{
    int passIndex = 0;
    QString fragmentShader;
    QString source;
};
struct CatalogPipeline
{
    QList<CatalogPass> passes;
};

TEST_F(GlRuntimeTest, BuiltinProgramsCompileOnceAndAFailureIsRetriedOnTheNextCall)
{
    WarningCapture warnings;
    const QString expected = QStringLiteral("GlRuntime: builtin program '__broken__' failed: ");
    onGl([&] {
        EXPECT_EQ(gl().builtinProgram("__broken__", orvel::kFullScreenVertexShader, kBrokenFragment),
                  nullptr);
        EXPECT_EQ(warnings.countStartingWith(expected), 1);
        EXPECT_EQ(gl().builtinProgram("__broken__", orvel::kFullScreenVertexShader, kBrokenFragment),
                  nullptr);
        EXPECT_EQ(warnings.countStartingWith(expected), 2);

        // Once compiled, a name stands for its first sources: later ones are not even looked at.
        const QByteArray solid = solidFragment("0.0, 1.0, 0.0, 1.0").toUtf8();
        QOpenGLShaderProgram *first =
            gl().builtinProgram("__solid__", orvel::kFullScreenVertexShader, solid.constData());
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(gl().builtinProgram("__solid__", orvel::kFullScreenVertexShader, kBrokenFragment), first);
    });
    EXPECT_EQ(warnings.countStartingWith("GlRuntime: "), 2);
    // The compiler's log follows the prefix.
    EXPECT_GT(warnings.startingWith(expected).value(0).size(), expected.size());
}

TEST_F(GlRuntimeTest, PipelineProgramsAreKeptUntilTheirSourcesChangeAndFailuresAreRetried)
{
    CatalogPipeline pipeline;
    pipeline.passes = {{0, "a.frag", solidFragment("1.0, 0.0, 0.0, 1.0")},
                       {1, "b.frag", solidFragment("0.0, 0.0, 1.0, 1.0")}};
    onGl([&] {
        GlRuntime::ProgramEntry *entry = gl().pipelinePrograms("fx", pipeline);
        ASSERT_NE(entry, nullptr);
        EXPECT_TRUE(entry->valid);
        ASSERT_EQ(entry->programs.size(), 2u);
        EXPECT_EQ(entry->signature, pipeline.passes[0].source + pipeline.passes[1].source + "#2");
        const QOpenGLShaderProgram *secondPass = entry->programs[1].get();
        EXPECT_EQ(gl().pipelinePrograms("fx", pipeline), entry);
        EXPECT_EQ(entry->programs[1].get(), secondPass);

        // The second pass draws what its own source says.
        orvel::GlFbo fbo = gl().acquireFbo(2, 2);
        fbo.fbo->bind();
        gl().extraFunctions()->glViewport(0, 0, 2, 2);
        entry->programs[1]->bind();
        gl().drawQuad();
        entry->programs[1]->release();
        fbo.fbo->release();
        EXPECT_EQ(storedRgba(readBack(fbo), 0, 0), (std::array<int, 4>{0, 0, 255, 255}));
        gl().releaseFbo(fbo);

        pipeline.passes.removeLast();
        GlRuntime::ProgramEntry *shorter = gl().pipelinePrograms("fx", pipeline);
        ASSERT_NE(shorter, nullptr);
        EXPECT_EQ(shorter->programs.size(), 1u);
        EXPECT_EQ(shorter->signature, pipeline.passes[0].source + "#1");
    });

    // Compile and link failures warn, leave no entry behind, and are tried again on the next call.
    WarningCapture warnings;
    orvel::GlPipelineSource good;
    good.passes = {{0, "ok.frag", solidFragment("1.0")}};
    orvel::GlPipelineSource badFragment = good;
    badFragment.passes.append({3, "bad.frag", QString::fromLatin1(kBrokenFragment)});
    orvel::GlPipelineSource badLink;
    badLink.passes = {{7, "link.frag", QString::fromLatin1(kUnlinkableFragment)}};

    const QString fragmentMessage =
        QStringLiteral("GlRuntime: fragment compile failed for fx pass 3 (bad.frag): ");
    const QString linkMessage = QStringLiteral("GlRuntime: link failed for fx pass 7: ");
    onGl([&] {
        ASSERT_NE(gl().pipelinePrograms("fx", good), nullptr);
        EXPECT_EQ(gl().pipelinePrograms("fx", badFragment), nullptr);
        EXPECT_EQ(gl().pipelinePrograms("fx", badFragment), nullptr);
        EXPECT_EQ(warnings.countStartingWith(fragmentMessage), 2);

        EXPECT_EQ(gl().pipelinePrograms("fx", badLink), nullptr);
        EXPECT_EQ(warnings.countStartingWith(linkMessage), 1);

        GlRuntime::ProgramEntry *recovered = gl().pipelinePrograms("fx", good);
        ASSERT_NE(recovered, nullptr);
        EXPECT_EQ(recovered->programs.size(), 1u);
    });
    EXPECT_EQ(warnings.countStartingWith("GlRuntime: "), 3);
}

} // namespace

// Entry point of bench_render: the GL benchmarks need a GUI application with shared contexts, as
// the editor has. Run it under xvfb-run where there is no display.
#include <QCoreApplication>
#include <QGuiApplication>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

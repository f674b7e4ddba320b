// Shared entry point of bench_core: a QCoreApplication exists for the whole run, for the Qt
// classes that expect one.
#include <QCoreApplication>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

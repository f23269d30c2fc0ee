// Thread contract: the benchmark's main thread only.
//
// The main that the module's benchmarks share: it runs them inside a QCoreApplication.

#include <QCoreApplication>
#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

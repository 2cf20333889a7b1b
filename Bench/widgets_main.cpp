// main() of the benchmarks that measure widgets: Google Benchmark's usual run inside a
// QApplication on the offscreen platform, so that they run headless.
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    // A benchmark's pictures go while the application still exists.
    PvResourceProvider::setDefaultResourceProviderClass({});
    return 0;
}

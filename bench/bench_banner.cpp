// One tick of the scrolling strip at 960 pixels: the step, the copy of one
// block from the off-screen picture, and the repaint it asks for.
#include "banner/dvxDisplay.h"

#include <QApplication>
#include <QImage>

#include <benchmark/benchmark.h>

namespace {

void BM_Timer1Tick(benchmark::State &state)
{
    dvxDisplay strip;
    strip.resize(960, strip.height());
    strip.SetSpeed(100);
    strip.SetPixelsPerSpeed(2);
    strip.SetText(
        QStringLiteral("The mail servers restart tonight at 22:00; save your work and close the client "
                       "applications before you leave. Thank you."));
    strip.WriteText(true);
    // The repaint goes into a surface of the strip's size, as the window's backing store would take it.
    QImage surface(strip.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        strip.Timer1_Timer();
        strip.render(&surface);
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}

} // namespace

BENCHMARK(BM_Timer1Tick);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

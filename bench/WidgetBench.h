#pragma once

#include <QApplication>
#include <QWidget>
#include <QWindow>

#include <benchmark/benchmark.h>
#include <functional>

// What the benchmarks of forms share: a window known to be on screen, and a
// main that runs them on the offscreen platform.

// The expose handler paints the window before it returns, so an exposed window
// is one on screen. Polling without a sleep keeps the figure free of a timer's step.
inline bool waitExposed(QWidget *window)
{
    if (!window || !window->windowHandle())
        return false;
    while (!window->windowHandle()->isExposed())
        QCoreApplication::processEvents();
    return true;
}

// Runs the registered benchmarks, then what must go before the application does.
inline int runWidgetBenchmarks(int argc, char **argv, const std::function<void()> &cleanUp = {})
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (cleanUp)
        cleanUp();
    return 0;
}

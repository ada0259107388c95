#include "core/Ticker.h"

namespace {
bool manualTickers = false;
}

Ticker::Ticker(int intervalMs, std::function<void()> onTick, QObject *parent) : QObject(parent)
{
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, [onTick = std::move(onTick)] { onTick(); });
}

void Ticker::setEnabled(bool enabled)
{
    m_enabled = enabled;
    if (enabled && !manualTickers)
        m_timer.start();
    else
        m_timer.stop();
}

void Ticker::setManual(bool manual)
{
    manualTickers = manual;
}

bool Ticker::manual()
{
    return manualTickers;
}

#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

// A timer of the engine. Its tick is a plain method of its owner: in the running
// client a QTimer calls it; under test the ticker is manual and the test calls
// the tick itself, so no rule depends on waiting.
class Ticker final : public QObject
{
    Q_OBJECT
public:
    Ticker(int intervalMs, std::function<void()> onTick, QObject *parent = nullptr);

    void setEnabled(bool enabled);
    bool isEnabled() const { return m_enabled; }
    int interval() const { return m_timer.interval(); }
    void setInterval(int intervalMs) { m_timer.setInterval(intervalMs); }

    // Process-wide: manual tickers never start a real timer.
    static void setManual(bool manual);
    static bool manual();

private:
    QTimer m_timer;
    bool m_enabled = false;
};

#pragma once

#include "banner/BannerView.h"

#include <QList>
#include <QStringList>

// A banner that records what the display queue asks of it instead of showing it.
class RecordingView final : public BannerView
{
public:
    bool shown = false;
    bool acknowledgeEnabled = false;
    QStringList sounds; // "play <file> loop|once", "beep", "stop"
    QList<StripLook> strips;
    QStringList links;
    LinkResult linkResult = LinkOpened;

    bool isShown() const override { return shown; }
    void ActivateMessages() override { shown = true; }
    void hideBanner() override { shown = false; }
    void showStrip(const StripLook &look) override { strips.append(look); }
    void setAcknowledgeEnabled(bool enabled) override { acknowledgeEnabled = enabled; }
    void stopSound() override { sounds.append(QStringLiteral("stop")); }
    void beep() override { sounds.append(QStringLiteral("beep")); }
    void playFile(qint16, const QString &file, bool looping) override
    {
        sounds.append(QStringLiteral("play ") + file +
                      (looping ? QStringLiteral(" loop") : QStringLiteral(" once")));
    }
    LinkResult openLink(const QString &path) override
    {
        links.append(path);
        return linkResult;
    }

    QStringList playing() const { return sounds.filter(QStringLiteral("play")); }
};

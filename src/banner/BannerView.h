#pragma once

#include <QString>

// How the strip should look for the message that takes it.
struct StripLook
{
    quint32 BackColor = 0xFFFFFF;
    quint32 ForeColor = 0;
    quint32 ShadowColor = 0;
    bool ShowShadow = false;
    bool HasLink = false;
    bool AllowReply = false;
    QString FromInfo;
    QString Text;
};

// What the display queue asks of the banner window. The window implements it;
// tests implement it with a recorder.
class BannerView
{
public:
    // What opening a linked document gave.
    enum LinkResult { LinkOpened, LinkNotFound, LinkAccessDenied, LinkNoApplication, LinkFailed };

    virtual ~BannerView() = default;

    virtual bool isShown() const = 0;
    // Shown: pulled back on screen, scrolling, top-most, never taking the keyboard.
    virtual void ActivateMessages() = 0;
    // Hidden: scrolling stopped, top-most dropped.
    virtual void hideBanner() = 0;
    virtual void showStrip(const StripLook &look) = 0;
    // The acknowledge button only: the menu's Acknowledge is always there.
    virtual void setAcknowledgeEnabled(bool enabled) = 0;

    virtual void stopSound() = 0;
    virtual void beep() = 0;
    virtual void playFile(qint16 soundType, const QString &soundFile, bool looping) = 0;

    virtual LinkResult openLink(const QString &path) = 0;
};

#pragma once

#include "banner/BannerView.h"
#include "banner/DisplayQueue.h"

#include <QWidget>

class QAction;
class QMenu;
class QTimer;
class QToolButton;
class SoundPlayer;
class dvxDisplay;

// The always-on-top strip through which every message reaches its reader. It
// never takes the keyboard; the reader drags it by the strip. What it shows
// and when is the queue's business: the window only shows and asks.
class frmBanner final : public QWidget, public BannerView
{
    Q_OBJECT
public:
    explicit frmBanner(DisplayQueue::Hooks hooks, QWidget *parent = nullptr);
    ~frmBanner() override;

    DisplayQueue &queue() { return m_queue; }
    dvxDisplay *display() const { return dvxDisplay1; }
    QToolButton *acknowledgeButton() const { return cmdOK; }
    QAction *acknowledgeAction() const { return mnuAcknowledge; }
    SoundPlayer *player() const { return Mp3play1; }

    // Places the window at the edges or the middle of the whole screen, in twips.
    void PositionForm(int horizontal, int vertical);
    // After the screens changed: the banner takes its settings' place on the primary screen.
    void FollowScreens();

    // BannerView
    bool isShown() const override;
    void ActivateMessages() override;
    void hideBanner() override;
    void showStrip(const StripLook &look) override;
    void setAcknowledgeEnabled(bool enabled) override;
    void stopSound() override;
    void beep() override;
    void playFile(qint16 soundType, const QString &soundFile, bool looping) override;
    LinkResult openLink(const QString &path) override;

Q_SIGNALS:
    // "View message properties": the composer shows the message read-only.
    void viewMessageRequested(const DVMessage &msg);

private:
    void Form_Load();
    void AssignLabels();
    void onDisplayResize();
    void onMouseMove(int button);
    void onMouseUp(int button);
    void mnuViewProperties_Click();

    dvxDisplay *dvxDisplay1 = nullptr;
    QToolButton *cmdOK = nullptr;
    SoundPlayer *Mp3play1 = nullptr;
    QMenu *mnuAction = nullptr;
    QAction *mnuAcknowledge = nullptr;
    QAction *mnuReply = nullptr;
    QAction *mnuReplyToAll = nullptr;
    QAction *mnuAttachment = nullptr;
    QAction *mnuViewProperties = nullptr;
    QTimer *m_screensChanged = nullptr;
    DisplayQueue m_queue;
};

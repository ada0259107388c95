#include "banner/frmBanner.h"

#include "banner/BannerPlacement.h"
#include "banner/dvxDisplay.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "netsvc/NetworkPaths.h"
#include "ui/SoundPlayer.h"

#include <QAccessible>
#include <QAction>
#include <QCursor>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIconEngine>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QWindow>

namespace {

const QString Banner = QStringLiteral("frmBanner:");

// A check mark for the acknowledge button, drawn afresh at whatever size and density it is asked
// for, so that a banner moved to a screen of another density shows it as sharp.
class CheckMarkEngine final : public QIconEngine
{
public:
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        // The mark is laid out on a square of 32.
        painter->scale(rect.width() / 32.0, rect.height() / 32.0);
        painter->setPen(QPen(QColor(0x1b, 0x8a, 0x3a), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->drawPolyline(QPolygonF({QPointF(6, 17), QPointF(13, 24), QPointF(26, 8)}));
        painter->restore();
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }
    QIconEngine *clone() const override { return new CheckMarkEngine; }
};

QRect screenArea()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry() : QRect(0, 0, 1024, 768);
}

} // namespace

frmBanner::frmBanner(DisplayQueue::Hooks hooks, QWidget *parent)
    : QWidget(parent,
              Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus),
      m_queue(*this, std::move(hooks))
{
    setObjectName(QStringLiteral("frmBanner"));
    // Not shown (the window has no frame), but window tools find the banner by it.
    setWindowTitle(QStringLiteral("Korvane banner"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    // The banner is never the active window, yet resting the pointer on it shows the whole text.
    setAttribute(Qt::WA_AlwaysShowToolTips);
    setFocusPolicy(Qt::NoFocus);

    dvxDisplay1 = new dvxDisplay(this);
    cmdOK = new QToolButton(this);
    cmdOK->setIcon(QIcon(new CheckMarkEngine));
    cmdOK->setAutoRaise(true);
    cmdOK->setFocusPolicy(Qt::NoFocus);
    Mp3play1 = new SoundPlayer(this);

    mnuAction = new QMenu(this);
    mnuAcknowledge = mnuAction->addAction(QStringLiteral("Acknowledge"));
    mnuReply = mnuAction->addAction(QStringLiteral("Reply to sender"));
    mnuReplyToAll = mnuAction->addAction(QStringLiteral("Reply to All"));
    mnuAttachment = mnuAction->addAction(QStringLiteral("Open the Attachment"));
    mnuAction->addSeparator();
    mnuViewProperties = mnuAction->addAction(QStringLiteral("View message properties"));

    connect(dvxDisplay1, &dvxDisplay::Resize, this, &frmBanner::onDisplayResize);
    connect(dvxDisplay1, &dvxDisplay::Looped, this, [this] { m_queue.Looped(); });
    connect(dvxDisplay1, &dvxDisplay::Displayed, this, [this] { m_queue.Displayed(); });
    connect(dvxDisplay1, &dvxDisplay::DblClick, this, [this] { m_queue.dvxDisplay_DblClick(); });
    connect(dvxDisplay1, &dvxDisplay::Details, this, [this] {
        m_queue.rememberDisplayed();
        mnuViewProperties_Click();
    });
    connect(dvxDisplay1, &dvxDisplay::Reply, this, [this] { m_queue.mnuReply_Click(false); });
    connect(dvxDisplay1, &dvxDisplay::MouseDown, this, [this](int button, int, double, double) {
        if (button == 2)
            m_queue.rememberDisplayed();
    });
    connect(dvxDisplay1, &dvxDisplay::MouseMove, this,
            [this](int button, int, double, double) { onMouseMove(button); });
    connect(dvxDisplay1, &dvxDisplay::MouseUp, this,
            [this](int button, int, double, double) { onMouseUp(button); });
    connect(cmdOK, &QToolButton::clicked, this, [this] { m_queue.cmdOK_Click(); });
    connect(mnuAcknowledge, &QAction::triggered, this, [this] { m_queue.mnuAcknowledge_Click(); });
    connect(mnuReply, &QAction::triggered, this, [this] { m_queue.mnuReply_Click(false); });
    connect(mnuReplyToAll, &QAction::triggered, this, [this] { m_queue.mnuReply_Click(true); });
    connect(mnuAttachment, &QAction::triggered, this, [this] { m_queue.dvxDisplay_DblClick(); });
    connect(mnuViewProperties, &QAction::triggered, this, &frmBanner::mnuViewProperties_Click);

    // Screens come, go, change size or trade the primary role; one pass follows a burst of them.
    m_screensChanged = new QTimer(this);
    m_screensChanged->setSingleShot(true);
    m_screensChanged->setInterval(0);
    connect(m_screensChanged, &QTimer::timeout, this, &frmBanner::FollowScreens);
    const auto watch = [this](QScreen *screen) {
        connect(screen, &QScreen::geometryChanged, m_screensChanged, qOverload<>(&QTimer::start));
    };
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
    connect(qApp, &QGuiApplication::screenAdded, this, [this, watch](QScreen *screen) {
        watch(screen);
        m_screensChanged->start();
    });
    connect(qApp, &QGuiApplication::screenRemoved, m_screensChanged, qOverload<>(&QTimer::start));
    connect(qApp, &QGuiApplication::primaryScreenChanged, m_screensChanged, qOverload<>(&QTimer::start));

    Form_Load();
}

frmBanner::~frmBanner() = default;

void frmBanner::AssignLabels()
{
    dvxDisplay1->SetDetailsHint(ResString(144));
    dvxDisplay1->SetReplyHint(ResString(145));
    dvxDisplay1->SetLinkHint(ResString(146));
    cmdOK->setToolTip(ResString(147));
}

void frmBanner::Form_Load()
{
    AssignLabels();
    TraceLog(QStringLiteral("Creating scrolling banner..."));
    dvxDisplay1->resize(screenArea().width() / 2, dvxDisplay1->height());
    const Options &options = gOptions();
    dvxDisplay1->SetPixelsPerSpeed(options.RefreshSteps);
    dvxDisplay1->SetSpeed(options.RefreshRate);
    dvxDisplay1->Cls();
    QFont font(options.Font.Name);
    font.setPointSize(qMax(1, options.Font.Size));
    font.setBold(options.Font.Bold);
    font.setItalic(options.Font.Italic);
    // The font sets the height, and so the window's size, that the position below depends on.
    dvxDisplay1->SetFont(font);
    PositionForm(options.HorizontalPosition, options.VerticalPosition);
    TraceLog(QStringLiteral("Initializing sound engine..."));
    Mp3play1->Initialise();
    dvxDisplay1->SetEnabled(false);
}

void frmBanner::onDisplayResize()
{
    // The acknowledge button stands right of the strip, as high as the control.
    const int height = dvxDisplay1->height();
    cmdOK->setGeometry(dvxDisplay1->width(), 0, height, height);
    cmdOK->setIconSize(QSize(height * 2 / 3, height * 2 / 3));
    setFixedSize(dvxDisplay1->width() + cmdOK->width(), height);
}

void frmBanner::PositionForm(int horizontal, int vertical)
{
    move(BannerPlacement::Place(screenArea(), size(), horizontal, vertical, pos()));
}

void frmBanner::FollowScreens()
{
    // The strip is half as wide as the screen it stands on, whichever that is now.
    const QRect screen = screenArea();
    TraceLog(Banner + QStringLiteral("FollowScreens %1x%2+%3+%4")
                          .arg(screen.width())
                          .arg(screen.height())
                          .arg(screen.x())
                          .arg(screen.y()));
    if (dvxDisplay1->width() != screen.width() / 2) {
        dvxDisplay1->SetScreenWidth(screen.width());
        dvxDisplay1->resize(screen.width() / 2, dvxDisplay1->height());
        if (isVisible())
            dvxDisplay1->WriteText(false);
    }
    PositionForm(gOptions().HorizontalPosition, gOptions().VerticalPosition);
}

bool frmBanner::isShown() const
{
    return isVisible();
}

void frmBanner::ActivateMessages()
{
    TraceLog(Banner + QStringLiteral("ActivateMessages"));
    // A screen that changed since the last message pulls the banner back into view.
    move(BannerPlacement::KeepInView(screenArea(), size(), pos()));
    dvxDisplay1->SetEnabled(true);
    if (!isVisible()) {
        show();
        raise();
    }
}

void frmBanner::hideBanner()
{
    dvxDisplay1->SetEnabled(false);
    hide();
}

void frmBanner::showStrip(const StripLook &look)
{
    dvxDisplay1->SetBackColor(look.BackColor);
    dvxDisplay1->SetForeColor(look.ForeColor);
    dvxDisplay1->SetShadowColor(look.ShadowColor);
    dvxDisplay1->ShowShadow = look.ShowShadow;
    // A message with a link looks like a link.
    dvxDisplay1->SetMousePointer(look.HasLink ? dvxDisplay::HandPointer : 0);
    dvxDisplay1->SetFontUnderline(look.HasLink);
    mnuAttachment->setVisible(look.HasLink);
    dvxDisplay1->SetLinkEnabled(look.HasLink);
    dvxDisplay1->SetReplyEnabled(look.AllowReply);
    mnuReply->setVisible(look.AllowReply);
    mnuReplyToAll->setVisible(look.AllowReply);
    dvxDisplay1->SetFromInfo(look.FromInfo);
    dvxDisplay1->SetText(look.Text);
    dvxDisplay1->WriteText(true);
    // Each new message is announced by the screen reader, not only drawn.
    QAccessibleEvent alert(dvxDisplay1, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void frmBanner::setAcknowledgeEnabled(bool enabled)
{
    cmdOK->setEnabled(enabled);
}

void frmBanner::stopSound()
{
    Mp3play1->Stop();
}

void frmBanner::beep()
{
    Mp3play1->Beep();
}

void frmBanner::playFile(qint16 soundType, const QString &soundFile, bool looping)
{
    Mp3play1->PlayFile(soundType, soundFile, looping);
}

BannerView::LinkResult frmBanner::openLink(const QString &path)
{
    const QUrl url(path);
    const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts();
    // A network path mounted here opens as the file it is; "server:/export/rest" is a file's name,
    // not an address, though it reads like one.
    const bool network = NetworkPaths::IsNetworkPath(path, mounts);
    const QString mapped = network ? NetworkPaths::LocalPathOf(path, mounts) : QString();
    const bool fileName = !mapped.isEmpty() || (network && !path.contains(QStringLiteral("://")));
    if (!fileName && url.isValid() && url.scheme().size() > 1 && !path.startsWith(QStringLiteral("\\\\")))
        return QDesktopServices::openUrl(url) ? LinkOpened : LinkFailed;
    // Missing, forbidden and unhandled are told apart before the desktop is asked.
    const QString local = network ? mapped : path;
    const QFileInfo info(local);
    if (local.isEmpty() || !info.exists())
        return LinkNotFound;
    if (!info.isReadable())
        return LinkAccessDenied;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const bool opened = QDesktopServices::openUrl(QUrl::fromLocalFile(info.absoluteFilePath()));
    QGuiApplication::restoreOverrideCursor();
    return opened ? LinkOpened : LinkNoApplication;
}

void frmBanner::onMouseMove(int button)
{
    // Dragging by the strip moves the window through the window manager.
    if (button == 1 && windowHandle())
        windowHandle()->startSystemMove();
}

void frmBanner::onMouseUp(int button)
{
    if (button != 2)
        return;
    const auto &displayed = m_queue.DisplayedMsg();
    mnuAttachment->setEnabled(displayed && !displayed->ActualMessage.Attachment.isEmpty());
    mnuAction->popup(QCursor::pos());
}

void frmBanner::mnuViewProperties_Click()
{
    TraceLog(Banner + QStringLiteral("mnuViewProperties_Click"));
    if (const auto &displayed = m_queue.DisplayedMsg())
        Q_EMIT viewMessageRequested(displayed->ActualMessage);
}

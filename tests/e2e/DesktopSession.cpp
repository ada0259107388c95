#include "e2e/DesktopSession.h"

#include <QDir>
#include <QProcess>
#include <QtCore/qtestsupport_core.h>

using namespace Qt::StringLiterals;

namespace DesktopSession {

QString run(const QString &program, const QStringList &arguments, int *exitCode)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(20000);
    if (exitCode)
        *exitCode = process.exitCode();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString visibleWindow(const QString &titlePattern)
{
    return run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, titlePattern})
        .section(u'\n', 0, 0)
        .trimmed();
}

QString waitWindow(const QString &titlePattern, int timeout)
{
    QString window;
    (void)QTest::qWaitFor([&] { return !(window = visibleWindow(titlePattern)).isEmpty(); }, timeout);
    return window;
}

bool waitGone(const QString &titlePattern, int timeout)
{
    return QTest::qWaitFor([&] { return visibleWindow(titlePattern).isEmpty(); }, timeout);
}

QString bannerWindow()
{
    return visibleWindow(u"^Korvane banner$"_s);
}

QColor bannerColour(const QString &artifact)
{
    const QString window = bannerWindow();
    return window.isEmpty() ? QColor()
                            : screenshot(artifact).pixelColor(geometryOf(window).topLeft() + QPoint(3, 3));
}

QRect geometryOf(const QString &window)
{
    const QString shell = run(u"xdotool"_s, {u"getwindowgeometry"_s, u"--shell"_s, window});
    const auto value = [&shell](const QString &key) {
        return shell.section(u'\n' + key + u'=', 1, 1).section(u'\n', 0, 0).toInt();
    };
    return QRect(value(u"X"_s), value(u"Y"_s), value(u"WIDTH"_s), value(u"HEIGHT"_s));
}

QString titleOf(const QString &window)
{
    return run(u"xprop"_s, {u"-id"_s, window, u"_NET_WM_NAME"_s}).trimmed();
}

QImage screenshot(const QString &name)
{
    QDir().mkpath(QStringLiteral(KORVANE_ARTIFACTS));
    const QString file = QStringLiteral(KORVANE_ARTIFACTS) + u'/' + name;
    run(u"import"_s, {u"-window"_s, u"root"_s, file});
    return QImage(file);
}

void clickAcknowledge(const QRect &banner)
{
    clickAt(QPoint(banner.x() + banner.width() - banner.height() / 2, banner.y() + banner.height() / 2));
}

void clickAt(const QPoint &at, int button)
{
    run(u"xdotool"_s, {u"mousemove"_s, QString::number(at.x()), QString::number(at.y()), u"click"_s,
                       QString::number(button)});
}

void clickIn(const QString &window, const QPoint &at, int button)
{
    run(u"xdotool"_s, {u"mousemove"_s, u"--window"_s, window, QString::number(at.x()),
                       QString::number(at.y()), u"click"_s, QString::number(button)});
}

void dragBy(const QPoint &from, const QPoint &by)
{
    const auto to = [](const QPoint &at) {
        return QStringList{u"mousemove"_s, QString::number(at.x()), QString::number(at.y())};
    };
    // A short first step starts the drag; the window manager then follows the pointer.
    run(u"xdotool"_s, to(from) + QStringList{u"mousedown"_s, u"1"_s} + to(from + QPoint(2, 2)) +
                          QStringList{u"sleep"_s, u"0.5"_s} + to(from + by) +
                          QStringList{u"sleep"_s, u"0.5"_s, u"mouseup"_s, u"1"_s});
}

QString titleUnderPointer()
{
    const QString shell = run(u"xdotool"_s, {u"getmouselocation"_s, u"--shell"_s});
    return titleOf(shell.section(u"WINDOW="_s, 1, 1).trimmed());
}

void keys(const QStringList &names)
{
    run(u"xdotool"_s, QStringList{u"key"_s, u"--delay"_s, u"60"_s} + names);
}

void type(const QString &text)
{
    run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"30"_s, text});
}

} // namespace DesktopSession

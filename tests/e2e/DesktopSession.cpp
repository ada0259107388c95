#include "e2e/DesktopSession.h"

#include <QDir>
#include <QProcess>

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

QString bannerWindow()
{
    return run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"Korvane banner"_s})
        .section(u'\n', 0, 0)
        .trimmed();
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
    const QPoint at(banner.x() + banner.width() - banner.height() / 2, banner.y() + banner.height() / 2);
    run(u"xdotool"_s, {u"mousemove"_s, QString::number(at.x()), QString::number(at.y()), u"click"_s, u"1"_s});
}

} // namespace DesktopSession

#include "e2e/DesktopSession.h"

#include <QDir>
#include <QProcess>

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
    return run(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                           QStringLiteral("--name"), QStringLiteral("Korvane banner")})
        .section(QLatin1Char('\n'), 0, 0)
        .trimmed();
}

QRect geometryOf(const QString &window)
{
    const QString shell = run(QStringLiteral("xdotool"),
                              {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), window});
    const auto value = [&shell](QLatin1String key) {
        for (const QString &line : shell.split(QLatin1Char('\n')))
            if (line.section(QLatin1Char('='), 0, 0) == key)
                return line.section(QLatin1Char('='), 1).toInt();
        return -1;
    };
    return QRect(value(QLatin1String("X")), value(QLatin1String("Y")), value(QLatin1String("WIDTH")),
                 value(QLatin1String("HEIGHT")));
}

QString titleOf(const QString &window)
{
    return run(QStringLiteral("xprop"), {QStringLiteral("-id"), window, QStringLiteral("_NET_WM_NAME")})
        .trimmed();
}

QImage screenshot(const QString &name)
{
    QDir().mkpath(QStringLiteral(KORVANE_ARTIFACTS));
    const QString file = QStringLiteral(KORVANE_ARTIFACTS) + QLatin1Char('/') + name;
    run(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), file});
    return QImage(file);
}

void clickAcknowledge(const QRect &banner)
{
    const QPoint at(banner.x() + banner.width() - banner.height() / 2, banner.y() + banner.height() / 2);
    run(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(at.x()),
                                    QString::number(at.y()), QStringLiteral("click"), QStringLiteral("1")});
}

} // namespace DesktopSession

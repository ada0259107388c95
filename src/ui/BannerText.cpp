#include "ui/BannerText.h"

#include "core/Clock.h"
#include "core/Globals.h"
#include "core/UserInfos.h"

#include <QLocale>

QString BannerText::Expand(const QString &inText)
{
    const QDateTime now = Clock::now();
    const QLocale locale = QLocale::system();
    const UserInfos &user = gUserInfos();
    QString text = inText;
    // Only the exact capitals are variables: "%date%" stays as it is.
    text.replace(QStringLiteral("%DAYOFWEEK%"), locale.dayName(now.date().dayOfWeek()));
    text.replace(QStringLiteral("%DATE%"), locale.toString(now.date(), QLocale::ShortFormat));
    text.replace(QStringLiteral("%LONGDATE%"), locale.toString(now.date(), QLocale::LongFormat));
    text.replace(QStringLiteral("%TIME%"), locale.toString(now.time(), QLocale::ShortFormat));
    text.replace(QStringLiteral("%LONGTIME%"), locale.toString(now, locale.timeFormat(QLocale::LongFormat)));
    text.replace(QStringLiteral("%USERID%"), user.UserID());
    text.replace(QStringLiteral("%USERNAME%"), user.UserName);
    text.replace(QStringLiteral("%MACHINEID%"), user.MachineID());
    // The strip has one line.
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    return text;
}

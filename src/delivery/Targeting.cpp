#include "delivery/Targeting.h"

#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

#include <QSqlQuery>
#include <QStringList>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

// The numeric value of a piece of an address, as a lenient numeric read takes it.
double number(const QString &text, bool &ok)
{
    return text.trimmed().toDouble(&ok);
}

bool inBox(const QStringList &low, const QStringList &high, const QStringList &local)
{
    for (int i = 0; i < 4; ++i) {
        bool okLow = false, okHigh = false, okLocal = false;
        const double l = number(low[i], okLow);
        const double h = number(high[i], okHigh);
        const double v = number(local.value(i), okLocal);
        if (!okLow || !okHigh || !okLocal || l > v || v > h)
            return false;
    }
    return true;
}

} // namespace

bool Targeting::MemberOfTarget(const QString &target, const QString &localIP)
{
    TraceLog(Form + QStringLiteral("MemberOfTarget - Target: ") + target);
    if (target.isEmpty()) {
        TraceLog(Form + QStringLiteral("MemberOfTarget - No target"));
        return true;
    }
    // Blanks are not trimmed: "a, b" holds the entry " b".
    const QStringList entries = target.toLower().split(QLatin1Char(','));
    const UserInfos &user = gUserInfos();

    TraceLog(Form + QStringLiteral("MemberOfTarget - UserID: ") + user.UserID());
    if (entries.contains(user.UserID()))
        return true;
    TraceLog(Form + QStringLiteral("MemberOfTarget - MachineID: ") + user.MachineID());
    if (entries.contains(user.MachineID()))
        return true;
    TraceLog(Form + QStringLiteral("MemberOfTarget - IP: ") + localIP);
    if (!localIP.isEmpty() && entries.contains(localIP))
        return true;

    const QStringList local = localIP.split(QLatin1Char('.'));
    for (const QString &entry : entries) {
        const QStringList bounds = entry.split(QLatin1Char('-'));
        if (bounds.size() != 2)
            continue;
        TraceLog(Form + QStringLiteral("MemberOfTarget - IP Range: ") + entry);
        const QStringList low = bounds[0].split(QLatin1Char('.'));
        const QStringList high = bounds[1].split(QLatin1Char('.'));
        // A box test by position: 10.0.5.200 is not between 10.0.5.1 and 10.0.6.9.
        if (low.size() == 4 && high.size() == 4 && local.size() == 4 && inBox(low, high, local))
            return true;
    }

    Database &temp = TempDB();
    QSqlQuery *groups = temp.query(QStringLiteral("SELECT GroupName FROM GroupsIBelongTo ORDER BY rowid"));
    if (!groups) {
        WriteLog(Form + QStringLiteral("MemberOfTarget - ") + temp.lastError());
        return false;
    }
    while (groups->next()) {
        const QString group = groups->value(0).toString();
        TraceLog(Form + QStringLiteral("MemberOfTarget - Group: ") + group);
        if (entries.contains(group)) {
            groups->finish();
            return true;
        }
    }
    groups->finish();
    TraceLog(Form + QStringLiteral("MemberOfTarget - Not member"));
    return false;
}

bool Targeting::CheckIPRange(const QString &low, const QString &high, const QString &localIP)
{
    TraceLog(Form + QStringLiteral("CheckIPRange"));
    const QStringList lows = low.split(QLatin1Char('.'));
    const QStringList highs = high.split(QLatin1Char('.'));
    const QStringList local = localIP.split(QLatin1Char('.'));
    if (lows.size() < 4 || highs.size() < 4 || local.size() < 4) {
        WriteLog(QStringLiteral("frmKOrvanClient:CheckIPRange - Subscript out of range"));
        return false;
    }
    bool ok = true;
    auto value = [&ok](const QString &text) {
        bool good = false;
        const double v = number(text, good);
        ok = ok && good;
        return v;
    };
    for (int i = 0; i < 4; ++i) {
        const double l = value(lows[i]);
        const double v = value(local[i]);
        if (l > v)
            return false;
        if (l < v)
            break;
    }
    for (int i = 0; i < 4; ++i) {
        const double h = value(highs[i]);
        const double v = value(local[i]);
        if (h < v)
            return false;
        if (h > v)
            break;
    }
    if (!ok) {
        WriteLog(QStringLiteral("frmKOrvanClient:CheckIPRange - Type mismatch"));
        return false;
    }
    return true;
}

QString Targeting::ReplaceMyGroupsInTarget(const QString &target)
{
    TraceLog(Form + QStringLiteral("ReplaceMyGroupsInTarget - BEFORE: ") + target);
    QString result;
    if (!target.isEmpty()) {
        QStringList resolved;
        for (const QString &entry : target.split(QLatin1Char(',')))
            resolved << ResolveMyGroup(entry);
        result = resolved.join(QLatin1Char(','));
    }
    TraceLog(Form + QStringLiteral("ReplaceMyGroupsInTarget - AFTER: ") + result);
    return result;
}

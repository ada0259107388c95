// The texts that travel: command payloads, policies, server settings, the user and his roles.
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Written readably: '^' stands for Chr(1), '~' for Chr(2), '#' for Chr(3) and '$' for Chr(4).
QString readable(QString text)
{
    for (const auto &[from, to] :
         {std::pair(1, u'^'), std::pair(2, u'~'), std::pair(3, u'#'), std::pair(4, u'$')})
        text.replace(QChar(from), to);
    return text;
}

DVMessage record(qint16 delivery, qint16 repeatValue)
{
    DVMessage m;
    m.MsgID = u"M7"_s;
    m.MsgDelivery = delivery;
    m.ExpirationDate = FakeClock::at(2024, 5, 18, 17, 30);
    m.RepeatValue = repeatValue;
    m.UserID = u"author"_s;
    m.Target = u"bob,alice"_s;
    m.Notify = true;
    return m;
}

Policies parsed(const QString &text, const QString &before = QString())
{
    Policies policies;
    policies.ToObject(before);
    policies.ToObject(text);
    return policies;
}

// The flags in the order of their keys, as 0s and 1s.
QString flagBits(const Policies &p)
{
    QString bits;
    for (bool flag : {p.CanSendMessages, p.CanCreateRepeating, p.CanRequestNotification, p.UseDomainGroups,
                      p.UseKorvanGroups, p.CanExitClient, p.CanModifyDisplayOptions, p.CanAdminister,
                      p.CanLinkDocument, p.CanSendToAll, p.CanBroadcast})
        bits += flag ? u'1' : u'0';
    return bits;
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s); }

    void texts()
    {
        const DVMessage once = record(DeliveryImmediate, 0);
        // The record's fields, each tagged: an unset creation and start date, no receipt, not deleted.
        const QString fields = u"RCP$CRE#00:00:00$SDT#00:00:00$EDT#18/05/2024 17:30:00$DEL$"_s;
        const QString author = u"UID#author$USR#$MAC#$TGT#bob,alice$STA#0$NOT$"_s;
        const QString head = u"M7~18/05/2024 17:30:00~MID#M7$SUB#$"_s;
        UserInfos reader(u"  Carol "_s);
        reader.UserName = u"Carol King"_s;
        reader.setMachineID(u"WS9"_s);
        const QString level = u"Urgent~Red~255~16777215~0~True~2~\\\\s\\a.wav~False~1"_s;
        const QList<std::pair<QString, QString>> texts = {
            {Commands::USR(u"UID=jdoe|MID=ws1"_s, u"3.1.7"_s), u"USR^UID=jdoe|MID=ws1~3.1.7"_s},
            {Commands::MSG(once), u"MSG^"_s + head + fields + author + u"~0"_s},
            {Commands::PKG(record(DeliveryScheduled, 0)),
             u"PKG^"_s + head + u"DLV#3$"_s + fields + author + u"~1"_s},
            {Commands::RPA(record(DeliveryImmediate, 2)),
             u"RPA^"_s + head + fields + u"RVL#2$RST#0$"_s + author + u"~1~bob,alice"_s},
            {Commands::STP(once), u"STP^M7~MID#M7$SUB#$"_s + fields + author},
            {Commands::RCP(once, reader, FakeClock::at(2024, 5, 17, 9, 5)),
             u"RCP^M7~carol~Carol King~ws9~17/05/2024 09:05:00~author~True"_s},
            {reader.ToString(), u"UID=carol|MID=ws9|USN=Carol King|MIP=|AGN=|LNG=0"_s},
            {Commands::MDE({u"M1"_s, u"M2"_s}), u"MDE^M1,M2"_s},
            {Commands::KVG(u"Ops"_s, u"Night"_s, FakeClock::at(2024, 5, 17, 22, 0), u"jdoe"_s, u"bob"_s),
             u"KVG^Ops~Night~17/05/2024 22:00:00~jdoe~bob"_s},
            {Commands::GPU(Policies().ToString()), u"GPU^"_s}, // every policy at its default
            {Commands::LVL({level.split(u'~'), level.split(u'~')}), u"LVL^"_s + level + u'#' + level},
            // Policies as read over earlier ones, then written back.
            {parsed(u"LFTM=12days;RCON=0"_s).ToString(), u"LFTM=12;RCON=0;"_s},
            {parsed(u"LFTM=abc;"_s).ToString(), u"LFTM=0;"_s},
            {parsed(u"LFTM=40000;RCON=9=8;"_s).ToString(), u"RCON=9;"_s},
            {parsed(u"CCDB;CCDB=1;XYZW;msgs;;NTDG;SENDING;"_s).ToString(), u"NTDG;SEND;"_s},
            {parsed(u"DEXT=;"_s).ToString(), u"DEXT=;"_s},
            // Under four characters the earlier rights stay, defaults are not restored.
            {parsed(u"MS;"_s, u"SEND;LFTM=3;"_s).ToString(), u"LFTM=3;SEND;"_s},
            {parsed(u"BRDC"_s, u"SEND;LFTM=3;"_s).ToString(), u"BRDC;"_s}};
        for (const auto &[text, expected] : texts)
            QCOMPARE(readable(text), expected);
    }

    void policyFlagsServerSettingsAndRoles()
    {
        // Each key turns its own flag away from the default, and no other.
        const QStringList keys = u"MSGS RPTG NOTE NTDG KVGG EXIT DSPO ADMN LINK SEND BRDC"_s.split(u' ');
        for (int i = 0; i < keys.size(); ++i) {
            const Policies one = parsed(keys[i] + u';');
            QCOMPARE(one.ToString(), keys[i] + u';');
            QString expected = u"11111111101"_s; // all but sending to all by default
            expected[i] = expected[i] == u'1' ? u'0' : u'1';
            QCOMPARE(flagBits(one), expected);
        }
        // Every field written back, in its order, over what came before.
        const QString all =
            u"MSGS;RPTG;NOTE;NTDG;KVGG;EXIT;DSPO;ADMN;LFTM=14;DEXT=pif;LINK;SEND;BRDC;RCON=-1;"_s;
        Policies policies = parsed(all, u"LFTM=2;RCON=3;DEXT=a;"_s);
        QCOMPARE(policies.ToString(), all);

        // Full rights grant sending to all; the timer and the personal flag stay.
        policies.PersonalPolicies = true;
        policies.SetFullRights();
        QCOMPARE(policies.ToString(), u"SEND;RCON=-1;"_s);
        QVERIFY(policies.PersonalPolicies);

        const QString text = u"PORT=7000;UDPP=7001;CLOC=\\\\srv\\upd;TRCE;GENE;GENP=3200;"_s;
        const ServerConfig config{.ClientPort = 7000,
                                  .UDPPort = 7001,
                                  .ClientUpgradeLocation = u"\\\\srv\\upd"_s,
                                  .Trace = true,
                                  .GenEnabled = true,
                                  .GenPort = 3200};
        QCOMPARE(config.ToString(), text);
        ServerConfig reader;
        reader.ToObject(text);
        QCOMPARE(reader.ToString(), text);
        // A short text still resets: unlike the policies, nothing is kept.
        reader.ToObject(u"POR"_s);
        QCOMPARE(reader.ToString(), u"PORT=58502;UDPP=58502;"_s);
        // Four characters are enough for a flag; a number without its value reads as nothing, 0.
        reader.ToObject(u"TRCE"_s);
        QVERIFY(reader.Trace);
        reader.ToObject(u"PORT"_s);
        QCOMPARE(reader.ClientPort, 0);
        // The largest number that fits is read; one past it leaves the field as it was.
        reader.ToObject(u"UDPP=9x;CLOC=\\\\a\\b=c;GENP=2147483647;PORT=2147483648;"_s);
        QCOMPARE(reader.ToString(), u"PORT=58502;UDPP=9;CLOC=\\\\a\\b=c;"_s);
        QCOMPARE(reader.GenPort, 2147483647);

        // User, postmaster, packager, administrator for the authorities -1 to 4.
        const QStringList roles = {u"0000"_s, u"1000"_s, u"0100"_s, u"0110"_s, u"0111"_s, u"0110"_s};
        for (int authority = -1; authority <= 4; ++authority) {
            UserInfos user(u"u"_s);
            user.setMyAuthority(static_cast<qint16>(authority));
            QCOMPARE(QString::number(user.IsUser()) + QString::number(user.IsPostmaster()) +
                         QString::number(user.IsPackager()) + QString::number(user.IsAdministrator()),
                     roles[authority + 1]);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"

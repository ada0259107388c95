#include "link/Policies.h"
#include "link/ServerConfig.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Flag
{
    const char *key;
    bool Policies::*field;
};

const Flag flags[] = {
    {"MSGS", &Policies::CanSendMessages},
    {"RPTG", &Policies::CanCreateRepeating},
    {"NOTE", &Policies::CanRequestNotification},
    {"NTDG", &Policies::UseDomainGroups},
    {"KVGG", &Policies::UseKorvanGroups},
    {"EXIT", &Policies::CanExitClient},
    {"DSPO", &Policies::CanModifyDisplayOptions},
    {"ADMN", &Policies::CanAdminister},
    {"LINK", &Policies::CanLinkDocument},
    {"SEND", &Policies::CanSendToAll},
    {"BRDC", &Policies::CanBroadcast},
};

Policies parsed(const QString &text)
{
    Policies policies;
    policies.ToObject(text);
    return policies;
}

} // namespace

class TestPolicies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void flagKeys_data();
    void flagKeys();
    void readsText_data();
    void readsText();
    void shortTextKeepsValues_data();
    void shortTextKeepsValues();
    void roundTrip();
    void fullRights();
    void serverConfig_data();
    void serverConfig();
    void serverConfigReading();
};

void TestPolicies::flagKeys_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");

    for (int i = 0; i < int(std::size(flags)); ++i)
        QTest::newRow(flags[i].key) << i << QString::fromLatin1(flags[i].key) + u';';
    QTest::newRow("without separator") << 0 << u"MSGS"_s;
    QTest::newRow("first four characters") << 9 << u"SENDING;"_s;
}

void TestPolicies::flagKeys()
{
    QFETCH(int, index);
    QFETCH(QString, text);

    // Each key turns exactly its own field away from the default, and no other.
    const Policies defaults;
    const Policies policies = parsed(text);
    for (int i = 0; i < int(std::size(flags)); ++i)
        QCOMPARE(policies.*flags[i].field,
                 i == index ? !(defaults.*flags[i].field) : defaults.*flags[i].field);
    QCOMPARE(policies.ToString(), QString::fromLatin1(flags[index].key) + u';');
}

void TestPolicies::readsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("lifetime");
    QTest::addColumn<int>("reconnect");
    QTest::addColumn<QString>("written");

    QTest::newRow("reconnect disabled") << u"RCON=-1;"_s << 7 << -1 << u"RCON=-1;"_s;
    QTest::newRow("reconnect at once") << u"RCON=0"_s << 7 << 0 << u"RCON=0;"_s;
    QTest::newRow("trailing junk") << u"LFTM=12days;"_s << 12 << 60 << u"LFTM=12;"_s;
    QTest::newRow("leading blank") << u"LFTM= 30;"_s << 30 << 60 << u"LFTM=30;"_s;
    QTest::newRow("no digits") << u"LFTM=abc;"_s << 0 << 60 << u"LFTM=0;"_s;
    QTest::newRow("no value") << u"LFTM;RCON=5;"_s << 7 << 5 << u"RCON=5;"_s;
    QTest::newRow("beyond 16 bits") << u"LFTM=40000;"_s << 7 << 60 << QString();
    QTest::newRow("second equals") << u"RCON=9=8;"_s << 7 << 9 << u"RCON=9;"_s;
    QTest::newRow("default values") << u"LFTM=7;RCON=60;"_s << 7 << 60 << QString();
    QTest::newRow("ignored keys") << u"CCDB;CCDB=1;XYZW;msgs;;NTDG;"_s << 7 << 60 << u"NTDG;"_s;
    QTest::newRow("extensions") << u"DEXT=exe,com;"_s << 7 << 60 << u"DEXT=exe,com;"_s;
    QTest::newRow("no extensions") << u"DEXT=;"_s << 7 << 60 << u"DEXT=;"_s;
    QTest::newRow("written order") << u"RCON=30;SEND;DEXT=x;LINK;LFTM=3;ADMN;MSGS;"_s << 3 << 30
                                   << u"MSGS;ADMN;LFTM=3;DEXT=x;LINK;SEND;RCON=30;"_s;
}

void TestPolicies::readsText()
{
    QFETCH(QString, text);
    QFETCH(int, lifetime);
    QFETCH(int, reconnect);
    QFETCH(QString, written);

    const Policies policies = parsed(text);
    QCOMPARE(int(policies.Lifetime), lifetime);
    QCOMPARE(int(policies.Reconnect), reconnect);
    QCOMPARE(policies.ToString(), written);
}

void TestPolicies::shortTextKeepsValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");

    QTest::newRow("empty") << QString() << u"LFTM=3;SEND;"_s;
    QTest::newRow("three characters") << u"MS;"_s << u"LFTM=3;SEND;"_s;
    QTest::newRow("four characters, no key") << u"XXXX"_s << QString();
    QTest::newRow("four characters, a key") << u"BRDC"_s << u"BRDC;"_s;
}

void TestPolicies::shortTextKeepsValues()
{
    QFETCH(QString, text);
    QFETCH(QString, written);

    // Under four characters the earlier rights stay, defaults are not restored.
    Policies policies = parsed(u"SEND;LFTM=3;"_s);
    policies.ToObject(text);
    QCOMPARE(policies.ToString(), written);
}

void TestPolicies::roundTrip()
{
    Policies policies;
    for (const Flag &flag : flags)
        policies.*flag.field = !(policies.*flag.field);
    policies.Lifetime = 14;
    policies.DeniedExtensions = u"pif"_s;
    policies.Reconnect = -1;

    const QString text = policies.ToString();
    QCOMPARE(text, u"MSGS;RPTG;NOTE;NTDG;KVGG;EXIT;DSPO;ADMN;LFTM=14;DEXT=pif;LINK;SEND;BRDC;RCON=-1;"_s);

    // Read over a record that differs everywhere, so nothing survives by chance.
    Policies reader = parsed(u"LFTM=2;RCON=3;DEXT=a;"_s);
    reader.ToObject(text);
    QCOMPARE(reader.ToString(), text);
}

void TestPolicies::fullRights()
{
    Policies policies = parsed(u"MSGS;RPTG;NOTE;NTDG;KVGG;EXIT;DSPO;ADMN;LFTM=1;DEXT=;LINK;BRDC;RCON=-1;"_s);
    policies.PersonalPolicies = true;
    policies.SetFullRights();

    // Sending to all is granted, unlike the defaults; the timer and the personal flag stay.
    QCOMPARE(policies.ToString(), u"SEND;RCON=-1;"_s);
    QCOMPARE(policies.PersonalPolicies, true);

    policies.ResetDefaultValues();
    QCOMPARE(policies.ToString(), QString());
    QCOMPARE(policies.PersonalPolicies, false);
}

void TestPolicies::serverConfig_data()
{
    QTest::addColumn<QString>("location");
    QTest::addColumn<bool>("trace");
    QTest::addColumn<bool>("genEnabled");
    QTest::addColumn<int>("genPort");
    QTest::addColumn<QString>("written");

    const QString ports = u"PORT=7000;UDPP=7001;"_s;
    QTest::newRow("defaults") << QString() << false << false << 3101 << ports;
    QTest::newRow("location") << u"\\\\srv\\upd"_s << false << false << 3101
                              << ports + u"CLOC=\\\\srv\\upd;"_s;
    QTest::newRow("generators, default port") << QString() << false << true << 3101 << ports + u"GENE;"_s;
    QTest::newRow("generators, own port")
        << QString() << true << true << 3200 << ports + u"TRCE;GENE;GENP=3200;"_s;
    QTest::newRow("port without generators") << QString() << false << false << 3200 << ports;
}

void TestPolicies::serverConfig()
{
    QFETCH(QString, location);
    QFETCH(bool, trace);
    QFETCH(bool, genEnabled);
    QFETCH(int, genPort);
    QFETCH(QString, written);

    ServerConfig config;
    config.ClientPort = 7000;
    config.UDPPort = 7001;
    config.ClientUpgradeLocation = location;
    config.Trace = trace;
    config.GenEnabled = genEnabled;
    config.GenPort = genPort;
    QCOMPARE(config.ToString(), written);

    ServerConfig reader;
    reader.ToObject(written);
    QCOMPARE(reader.ToString(), written);
    QCOMPARE(reader.ClientUpgradeLocation, location);
    QCOMPARE(reader.GenPort, genEnabled ? genPort : 3101);
}

void TestPolicies::serverConfigReading()
{
    ServerConfig config;
    config.ToObject(u"PORT=1;TRCE;GENE;"_s);

    // A short text still resets: unlike the policies, nothing is kept.
    config.ToObject(u"POR"_s);
    QCOMPARE(config.ToString(), u"PORT=58502;UDPP=58502;"_s);

    config.ToObject(u"UDPP=9x;CLOC=\\\\a\\b=c;GENP=77;PORT=99999999999;"_s);
    QCOMPARE(config.UDPPort, 9);
    QCOMPARE(config.ClientUpgradeLocation, u"\\\\a\\b=c"_s);
    QCOMPARE(config.GenPort, 77);
    QCOMPARE(config.ClientPort, 58502);
}

QTEST_GUILESS_MAIN(TestPolicies)
#include "tst_policies.moc"

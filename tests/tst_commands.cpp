#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Payloads written readably: '^' stands for Chr(1), '~' for Chr(2) and '#' for
// Chr(3). The record text inside keeps its own separators.
QString readable(QString text)
{
    return text.replace(QChar(1), u'^').replace(QChar(2), u'~').replace(QChar(3), u'#');
}

QDateTime at(int y, int mo, int d, int h = 0, int mi = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi), Qt::UTC);
}

DVMessage record(qint16 delivery, qint16 repeatValue)
{
    DVMessage m;
    m.MsgID = u"M7"_s;
    m.Subject = u"Fire drill"_s;
    m.MsgDelivery = delivery;
    m.RepeatValue = repeatValue;
    m.ExpirationDate = at(2024, 5, 18, 17, 30);
    m.UserID = u"author"_s;
    m.Target = u"bob,alice"_s;
    m.Notify = true;
    return m;
}

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void payloads_data();
    void payloads();
};

void TestCommands::initTestCase()
{
    DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s);
}

void TestCommands::payloads_data()
{
    QTest::addColumn<QString>("payload");
    QTest::addColumn<QString>("expected");

    QTest::newRow("USR") << Commands::USR(u"UID=jdoe|MID=ws1"_s, u"3.1.7"_s)
                         << u"USR^UID=jdoe|MID=ws1~3.1.7"_s;
    QTest::newRow("no data") << Commands::ALL() << u"ALL"_s;
    QTest::newRow("requester") << Commands::RUS(u'G') << u"RUS^G"_s;

    const DVMessage once = record(DeliveryImmediate, 0);
    const DVMessage scheduled = record(DeliveryScheduled, 0);
    const DVMessage repeating = record(DeliveryImmediate, 2);
    const QString head = u"M7~18/05/2024 17:30:00~"_s;
    QTest::newRow("MSG once") << Commands::MSG(once)
                              << u"MSG^"_s + head + readable(once.ToString()) + u"~0"_s;
    QTest::newRow("PKG scheduled") << Commands::PKG(scheduled)
                                   << u"PKG^"_s + head + readable(scheduled.ToString()) + u"~1"_s;
    QTest::newRow("RPA repeating") << Commands::RPA(repeating)
                                   << u"RPA^"_s + head + readable(repeating.ToString()) + u"~1~bob,alice"_s;
    QTest::newRow("MUP") << Commands::MUP(once) << u"MUP^"_s + head + readable(once.ToString());
    QTest::newRow("STP") << Commands::STP(once) << u"STP^M7~"_s + readable(once.ToString());

    UserInfos reader(u"Carol"_s);
    reader.UserName = u"Carol King"_s;
    reader.setMachineID(u"WS9"_s);
    QTest::newRow("RCP") << Commands::RCP(once, reader, at(2024, 5, 17, 9, 5))
                         << u"RCP^M7~carol~Carol King~ws9~17/05/2024 09:05:00~author~True"_s;
    QTest::newRow("CMS") << Commands::CMS(u"M7"_s, u"ws9"_s) << u"CMS^M7~ws9"_s;
    QTest::newRow("MDE") << Commands::MDE({u"M1"_s, u"M2"_s, u"M3"_s}) << u"MDE^M1,M2,M3"_s;
    QTest::newRow("CRC") << Commands::CRC({u"R1"_s, u"R2"_s}) << u"CRC^R1~R2~"_s;

    QTest::newRow("KVG") << Commands::KVG(u"Ops"_s, u"Night shift"_s, at(2024, 5, 17, 22, 0), u"jdoe"_s,
                                          u"bob,PC7"_s)
                         << u"KVG^Ops~Night shift~17/05/2024 22:00:00~jdoe~bob,PC7"_s;
    QTest::newRow("KVG delete") << Commands::KVG(u"Ops"_s) << u"KVG^Ops~~~~"_s;
    QTest::newRow("ADM") << Commands::ADM(u"bob, alice"_s, UserInfos::RolePackager) << u"ADM^bob, alice~2"_s;

    Policies policies;
    policies.CanSendToAll = true;
    QTest::newRow("UPU") << Commands::UPU(u"bob"_s, policies.ToString()) << u"UPU^bob~SEND;"_s;
    QTest::newRow("GPU all defaults") << Commands::GPU(Policies().ToString()) << u"GPU^"_s;
    QTest::newRow("SCU") << Commands::SCU(ServerConfig()) << u"SCU^PORT=58502;UDPP=58502;"_s;

    // Level rows are given as text; '|' parts their fields here.
    const QStringList urgent = u"Urgent|Red|255|16777215|0|True|2|\\\\s\\a.wav|False|1"_s.split(u'|');
    const QStringList plain = u"Plain||0|0|0|False|0||False|0"_s.split(u'|');
    QTest::newRow("LVL") << Commands::LVL({urgent, plain})
                         << u"LVL^Urgent~Red~255~16777215~0~True~2~\\\\s\\a.wav~False~1#"
                            "Plain~~0~0~0~False~0~~False~0"_s;
}

void TestCommands::payloads()
{
    QFETCH(QString, payload);
    QFETCH(QString, expected);

    QCOMPARE(readable(payload), expected);
}

QTEST_GUILESS_MAIN(TestCommands)
#include "tst_commands.moc"

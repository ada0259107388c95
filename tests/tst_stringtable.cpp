#include "core/Globals.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;

class TestStringTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void languages()
    {
        TempProfile profile;
        QCOMPARE(ResString(117), u"Agent disconnected from server"_s);
        gOptions().Language = 1;
        QCOMPARE(ResString(117), StringTable::raw(10117));
        QVERIFY(ResString(117) != StringTable::raw(117));
        // Ids of 99 or less are empty in every language.
        QCOMPARE(ResString(99), QString());
    }

    // The table ships whole: every text has its French twin, which keeps the
    // blanks, separators and variables of the English.
    void everyTextHasItsTranslation()
    {
        QFile file(u":/resources/strings.tsv"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
        int english = 0;
        for (const QString &line : lines) {
            if (line.isEmpty() || line.startsWith(u'#'))
                continue;
            const int id = line.section(u'\t', 0, 0).toInt();
            if (id >= 10000)
                continue;
            ++english;
            const QString en = StringTable::raw(id);
            const QString fr = StringTable::raw(id + 10000);
            QVERIFY2(!fr.isEmpty(), qPrintable(QString::number(id)));
            QCOMPARE(fr.count(u'|'), en.count(u'|'));
            QCOMPARE(fr.startsWith(u' '), en.startsWith(u' '));
            QCOMPARE(fr.endsWith(u' '), en.endsWith(u' '));
            static const QRegularExpression variable(u"%[a-z]+%"_s);
            QStringList enVars, frVars;
            for (auto it = variable.globalMatch(en); it.hasNext();)
                enVars << it.next().captured();
            for (auto it = variable.globalMatch(fr); it.hasNext();)
                frVars << it.next().captured();
            enVars.sort();
            frVars.sort();
            QCOMPARE(frVars, enVars);
        }
        QVERIFY(english > 90);
    }

    void loadsEscapesAndFallsBackToEnglish()
    {
        TempProfile profile;
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("# comment\n500\tline one\\nline two\\ttab \\\\ end\n501\tonly English\r\n\n10500\tligne\n"
                   "bad line\nx\ty\n");
        file.close();
        QVERIFY(StringTable::load(file.fileName()));
        QCOMPARE(ResString(500), u"line one\nline two\ttab \\ end"_s);
        gOptions().Language = 1;
        QCOMPARE(ResString(500), u"ligne"_s);
        QCOMPARE(ResString(501), u"only English"_s);
        QVERIFY(StringTable::load(u":/resources/strings.tsv"_s));
    }
};

QTEST_GUILESS_MAIN(TestStringTable)
#include "tst_stringtable.moc"

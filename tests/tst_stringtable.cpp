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
    void loadsEscapesFallsBackToEnglishAndShipsEveryTranslation()
    {
        TempProfile profile;
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("# comment\n500\tline one\\nline two\\ttab \\\\ end\n501\tonly English\r\n\n10500\tligne\n"
                   "bad line\nx\ty\n99\tnever\n");
        file.close();
        QVERIFY(StringTable::load(file.fileName()));
        QCOMPARE(ResString(500), u"line one\nline two\ttab \\ end"_s);
        // Ids of 99 or less are empty in every language; a line without a number stores nothing.
        QCOMPARE(std::pair(ResString(99), StringTable::raw(0)), std::pair(QString(), QString()));
        gOptions().Language = 1;
        QCOMPARE(ResString(500), u"ligne"_s);
        QCOMPARE(ResString(501), u"only English"_s);

        // Every shipped text has a French twin keeping its separators, outer blanks and variables.
        QVERIFY(StringTable::load(u":/resources/strings.tsv"_s));
        QFile shipped(u":/resources/strings.tsv"_s);
        QVERIFY(shipped.open(QIODevice::ReadOnly));
        const auto shape = [](const QString &text) {
            QStringList found{u"%1 %2 %3"_s.arg(text.count(u'|'))
                                  .arg(int(text.startsWith(u' ')))
                                  .arg(int(text.endsWith(u' ')))};
            for (auto it = QRegularExpression(u"%[a-z]+%"_s).globalMatch(text); it.hasNext();)
                found << it.next().captured();
            std::sort(found.begin() + 1, found.end());
            return found;
        };
        int english = 0;
        for (const QString &line : QString::fromUtf8(shipped.readAll()).split(u'\n')) {
            const int id = line.section(u'\t', 0, 0).toInt();
            if (line.startsWith(u'#') || id == 0 || id >= 10000)
                continue;
            ++english;
            const QString en = StringTable::raw(id), fr = StringTable::raw(id + 10000);
            QVERIFY2(!fr.isEmpty(), qPrintable(QString::number(id)));
            QCOMPARE(shape(fr), shape(en));
        }
        QVERIFY(english > 90);
    }
};

QTEST_GUILESS_MAIN(TestStringTable)
#include "tst_stringtable.moc"

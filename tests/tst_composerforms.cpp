// The composer as a person meets it: its widgets offscreen, the answers that
// open it through the desktop's frontend, and what reaches the link.
#include "authoring/frmMessage.h"
#include "support/AuthoringFixture.h"
#include "ui/DesktopFrontend.h"
#include "ui/frmDialog.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

struct Fixture : AuthoringFixture
{
    Fixture()
    {
        level row;
        row.LevelName = u"Message"_s;
        levels.add(row);
    }
};

QString names(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list << u"user%1"_s.arg(i, 4, 10, QChar(u'0'));
    return list.join(u',');
}

// Presses a button of the box that the next call puts up, as a person would.
void answerBox(int button)
{
    QTimer::singleShot(0, qApp, [button] {
        auto *dialog = qobject_cast<frmDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        dialog->Button[button]->click();
    });
}

} // namespace

class TestComposerForms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A list of thousands of characters reaches the wire whole, typed in,
    // chosen in the selection or opened from the store.
    void longRecipientsReachTheWire()
    {
        Fixture f;
        const QString whole = names(400);
        frmMessage form(f.context);
        form.OpenNew(NewMessage, u"ID1"_s, whole);
        form.show();
        QCOMPARE(form.ui.txtTarget->text(), whole);
        form.logic().getSelection = [](int, const QString &target) -> QString { return target + u",zed"_s; };
        form.DisplayList(SelectUsers);
        QCOMPARE(form.ui.txtTarget->text(), whole + u",zed"_s);
        form.ui.txtTarget->end(false);
        QTest::keyClicks(form.ui.txtTarget, u",amy"_s);
        QTest::keyClicks(form.ui.txtText, u"Fire drill"_s);
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.sent.size(), 1);
        QVERIFY(f.sent[0].contains(u"\x04TGT\x03"_s + whole + u",zed,amy\x04"_s));

        DVMessage stored;
        stored.MsgID = stored.InitID = u"M1"_s;
        stored.UserID = u"jdoe"_s;
        stored.Message = QString(3000, u'a');
        stored.Target = whole;
        stored.MsgLevel = u"Message"_s;
        frmMessage edit(f.context);
        edit.EditMessage(stored, EditMessageAction);
        edit.show();
        edit.ui.txtText->moveCursor(QTextCursor::End);
        QTest::keyClicks(edit.ui.txtText, u"b"_s);
        f.frontend.answerBox(ResultNo);
        QTest::mouseClick(edit.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.sent.size(), 2);
        QVERIFY(f.sent[1].contains(u"\x04TGT\x03"_s + whole + u"\x04"_s));
        QVERIFY(f.sent[1].contains(QString(3000, u'a') + u'b'));
    }

    // A new ID for a composer on which the person is writing asks first; No
    // keeps every word, Yes opens the new one. An untouched composer is reused.
    void secondAnswerKeepsWhatIsWritten()
    {
        Fixture f;
        DesktopFrontend desktop;
        desktop.setAuthoring(f.context);
        desktop.OpenMessageForm(NewMessage, u"ID1"_s, u"bob"_s);
        frmMessage *form = desktop.messageForm();
        QVERIFY(form);
        desktop.OpenMessageForm(NewMessage, u"ID2"_s, u"bob"_s);
        QCOMPARE(form->logic().Tag, u"ID2"_s);
        QTest::keyClicks(form->ui.txtText, u"Half a thought"_s);
        answerBox(3);
        desktop.OpenMessageForm(NewMessage, u"ID3"_s, QString());
        QCOMPARE(desktop.messageForm(), form);
        QCOMPARE(
            (QStringList{form->logic().Tag, form->ui.txtText->toPlainText(), form->ui.txtTarget->text()}),
            (QStringList{u"ID2"_s, u"Half a thought"_s, u"bob"_s}));
        answerBox(2);
        desktop.OpenMessageForm(NewMessage, u"ID3"_s, QString());
        QCOMPARE((QStringList{form->logic().Tag, form->ui.txtText->toPlainText()}),
                 (QStringList{u"ID3"_s, QString()}));
        desktop.setAuthoring(std::nullopt);
    }
};

QTEST_MAIN(TestComposerForms)
#include "tst_composerforms.moc"

// The composer as a person meets it offscreen, the answers that open it, and what reaches the link.
#include "app/DesktopFrontend.h"
#include "authoring/frmMessage.h"
#include "authoring/frmReply.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/ModalDialog.h"
#include "support/Untranslated.h"
#include "ui/LevelDelegate.h"
#include "ui/frmDialog.h"

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>

#include <list>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

// Two levels a user may choose, green and red, and one above him.
struct Fixture : AuthoringFixture
{
    Fixture()
    {
        for (const auto &[name, back, authority] :
             {std::tuple{u"Message"_s, 0x00FF00, 0}, {u"Alert"_s, 0x0000FF, 0}, {u"Alarm"_s, 0xFF0000, 3}}) {
            level row;
            std::tie(row.LevelName, row.BackColor, row.ForeColor, row.Authority) =
                std::tuple{name, back, 0xFFFFFF, qint16(authority)};
            levels.add(row);
        }
        user.Agent = u"agent-1"_s;
    }
    ~Fixture() { gOptions().Language = 0; }
    // A composer on show, opened for a new message.
    frmMessage &open(const QString &id, bool package = false, const QString &target = {})
    {
        frmMessage &form = forms.emplace_back(context, package);
        form.OpenNew(NewMessage, id, target);
        form.show();
        return form;
    }
    std::list<frmMessage> forms;
};

// Chooses an item of a combo by the keyboard, as a person would.
void choose(QComboBox *combo, int index)
{
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(combo, Qt::Key_Down);
}

} // namespace

class TestComposerForms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each control does what a person expects of it, and the record that leaves holds what they showed.
    void composerControlsReachTheRecord()
    {
        Fixture f;
        std::tie(f.policies.UseDomainGroups, f.policies.UseKorvanGroups, f.policies.CanLinkDocument,
                 f.session.UsersLoaded) = std::tuple{true, false, false, true};
        frmMessage &form = f.open(u"ID1"_s);
        Ui::frmMessage &ui = form.ui;
        // The lists as a person reads them, and the levels above the user left out.
        QCOMPARE((QVariantList{ui.cboDelivery->count(), ui.cboRepeat->count(), ui.cboLevel->count(),
                               ui.cboRepeat->currentText(), ui.cboDelivery->itemText(3)}),
                 (QVariantList{4, 7, 2, u"Days"_s, u"Scheduled"_s}));
        // No link without the right; the domain groups' button where the shared ones' would be.
        QCOMPARE((QList<bool>{ui.txtLink->isVisibleTo(&form), ui.cmdKorvan->isVisibleTo(&form),
                              ui.cmdDomain->isVisibleTo(&form),
                              ui.layoutRecipients->indexOf(ui.cmdDomain) <
                                  ui.layoutRecipients->indexOf(ui.cmdKorvan),
                              ui.chkBroadcast->isVisibleTo(&form), ui.OKButton->isEnabled()}),
                 (QList<bool>{false, false, true, true, true, false}));

        // A green level shows in the sample; the red one chosen turns it red.
        const auto samplePixel = [&ui] { return ui.lblSample->pixmap().toImage().pixelColor(2, 2); };
        QCOMPARE(samplePixel(), QColor(0, 255, 0));
        choose(ui.cboLevel, 1);
        QCOMPARE(samplePixel(), QColor(255, 0, 0));

        QTest::keyClicks(ui.txtText, u"Drill"_s);
        QVERIFY(ui.OKButton->isEnabled() == f.policies.CanSendToAll);
        QTest::keyClicks(ui.txtTarget, u"ann"_s);
        QVERIFY(ui.OKButton->isEnabled());
        f.frontend.answerText(u"%USERID%"_s);
        QTest::mouseClick(ui.cmdVariable, Qt::LeftButton);
        QCOMPARE(ui.txtText->toPlainText(), u"Drill%USERID%"_s);

        // Scheduled opens the start; a repeat opens its unit; the receipt opens the notice.
        QVERIFY(!ui.dateNextRun->isEnabled() && !ui.chkExactTime->isEnabled());
        choose(ui.cboDelivery, DeliveryScheduled);
        QVERIFY(ui.dateNextRun->isEnabled() && ui.timeNextRun->isEnabled() && ui.chkExactTime->isEnabled() &&
                ui.dateExpiration->isEnabled());
        QVERIFY(!ui.cboRepeat->isEnabled());
        ui.numRepeat->setFocus();
        QTest::keyClick(ui.numRepeat, Qt::Key_Up);
        QTest::keyClick(ui.numRepeat, Qt::Key_Up);
        choose(ui.cboRepeat, RepeatWeeks);
        const auto tick = [](QWidget *box) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(4, box->height() / 2));
        };
        tick(ui.chkReceipt);
        tick(ui.chkNotify);
        ui.dateNextRun->setDate(QDate(2026, 12, 1));
        ui.timeNextRun->setTime(QTime(9, 30));
        ui.dateExpiration->setDate(QDate(2026, 12, 31));
        ui.timeExpiration->setTime(QTime(18, 0));
        tick(ui.chkBroadcast);
        QTest::keyClicks(ui.txtSubject, u"Subject"_s);

        // A directory here opens the selection at once; one not here is asked of the server.
        form.logic().getSelection = [](int kind, const QString &target) -> QString {
            return target + u",kind"_s + QString::number(kind);
        };
        for (QWidget *button : {ui.cmdUsers, ui.cmdMyGroups, ui.cmdDomain, ui.cmdMachines})
            QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(f.sent, QStringList{u"RMA\x01M"_s});
        form.DisplayList(SelectMachines);

        f.sent.clear();
        QTest::mouseClick(ui.OKButton, Qt::LeftButton);
        DVMessage sent;
        sent.ToObject(f.sent.value(0).section(QChar(2), 2, 2));
        QCOMPARE((QVariantList{f.sent.size(), form.isVisible(), sent.Subject, sent.Message, sent.Target,
                               sent.MsgLevel, sent.MsgDelivery, sent.RepeatValue, sent.RepeatStep,
                               sent.ReceiptRequired, sent.Notify, sent.Agent, sent.StartDate,
                               sent.ExpirationDate}),
                 (QVariantList{qsizetype(1), false, u"Subject"_s, u"Drill%USERID%"_s,
                               u"ann,kind3,kind0,kind1,kind4"_s, u"Alert"_s, qint16(DeliveryScheduled),
                               qint16(2), qint16(RepeatWeeks), true, true, QString(),
                               QDateTime(QDate(2026, 12, 1), QTime(9, 30), Qt::UTC),
                               QDateTime(QDate(2026, 12, 31), QTime(18, 0), Qt::UTC)}));

        // The document is browsed for; a dialog cancelled leaves the path as it was.
        frmMessage &package = f.open(u"P1"_s, true);
        QTemporaryDir folder;
        const QString document = folder.filePath(u"setup.msi"_s);
        QVERIFY(QFile(document).open(QIODevice::WriteOnly));
        for (const bool accept : {true, false}) {
            answerFileDialog(document, accept);
            QTest::mouseClick(package.ui.cmdLink, Qt::LeftButton);
            QCOMPARE(package.ui.txtLink->text(), document);
        }

        // Certified takes the repeat away; Next logon repeats at each logon.
        frmMessage &other = f.open(u"ID2"_s);
        other.ui.numRepeat->setValue(3);
        choose(other.ui.cboDelivery, DeliveryCertified);
        QCOMPARE(other.ui.numRepeat->value(), 0);
        QVERIFY(!other.ui.cboRepeat->isEnabled() && !other.ui.dateNextRun->isEnabled());
        choose(other.ui.cboDelivery, DeliveryLogon);
        QCOMPARE(other.ui.cboRepeat->currentText(), u"Logon"_s);
        // View: nothing to press but Cancel, which closes.
        other.ViewMessage(sent);
        QVERIFY(!other.ui.cmdDomain->isVisibleTo(&other) && !other.ui.OKButton->isVisibleTo(&other));
        QCOMPARE(other.ui.txtSubject->text(), u"Subject"_s);
        QTest::mouseClick(other.ui.CancelButton, Qt::LeftButton);
        QVERIFY(!other.isVisible());

        // A list of thousands of characters, and a long text, reach the wire whole, typed in or chosen.
        f.sent.clear();
        const QString whole = QStringList(400, u"user0000"_s).join(u',');
        frmMessage &longer = f.open(u"ID1"_s, false, whole);
        longer.logic().getSelection = [](int, const QString &target) -> QString {
            return target + u",zed"_s;
        };
        longer.DisplayList(SelectUsers);
        longer.ui.txtTarget->end(false);
        QTest::keyClicks(longer.ui.txtTarget, u",amy"_s);
        longer.ui.txtText->setPlainText(QString(5000, u'a') + u'b');
        QTest::mouseClick(longer.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.sent.size(), 1);
        QVERIFY(f.sent[0].contains(u"\x04TGT\x03"_s + whole + u",zed,amy\x04"_s) &&
                f.sent[0].contains(QString(5000, u'a') + u'b'));
    }

    // The hint pane follows the focus and the pointer, every word and choice a language switch, the sample
    // its width; only a reply on show with words written is being written; a second answer keeps those.
    void hintsLanguageAndDetails()
    {
        Fixture f;
        frmMessage &form = f.open(u"ID1"_s);
        const int width = form.ui.lblSample->width();
        form.ui.lblSample->resize(width + 40, form.ui.lblSample->height());
        QCOMPARE(form.ui.lblSample->pixmap().deviceIndependentSize().width(), qreal(width + 40));
        form.ui.numRepeat->setFocus();
        QTest::keyClick(form.ui.numRepeat, Qt::Key_Up);
        choose(form.ui.cboRepeat, RepeatMinutes);
        form.ui.txtSubject->setFocus();
        QTRY_VERIFY(form.ui.lblHint->toPlainText().startsWith(u"Subject\nEnter the subjet"_s));
        QEvent enter(QEvent::Enter), leave(QEvent::Leave);
        QCoreApplication::sendEvent(form.ui.txtTarget, &enter);
        QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Recipients\nEnter the recipients"_s));
        QCoreApplication::sendEvent(form.ui.txtTarget, &leave);
        QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Subject\n"_s));
        QCoreApplication::sendEvent(form.ui.timeNextRun, &enter);
        QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Next run\n"_s));
        QCoreApplication::sendEvent(&form, &enter);
        QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Subject\n"_s));
        QCoreApplication::sendEvent(form.ui.cmdUsers, &enter);
        QPaintEvent paint(QRect(0, 0, 1, 1));
        QCoreApplication::sendEvent(&form, &paint);
        QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Users\n"_s));
        QCOMPARE(form.ui.cmdUsers->text().remove(u'&'), u"Users"_s);

        switchLanguage(&form, 1);
        QCOMPARE((std::tuple{form.ui.cboDelivery->itemText(0), form.windowTitle(),
                             form.ui.lblHint->toPlainText().section(u'\n', 0, 0),
                             form.ui.cboRepeat->currentIndex()}),
                 (std::tuple{u"Immédiate"_s, u"Nouveau message ID1"_s, u"Objet"_s, int(RepeatMinutes)}));
        switchLanguage(&form, 0);

        frmMessage &package = f.open(u"P1"_s, true);
        QCOMPARE((QVariantList{package.ui.cboLevel->isVisible(), package.ui.chkReply->isVisible(),
                               package.ui.chkExactTime->text().remove(u'&')}),
                 (QVariantList{false, false, u"Mandatory"_s}));
        QCoreApplication::sendEvent(package.ui.chkExactTime, &enter);
        QVERIFY(package.ui.lblHint->toPlainText().startsWith(u"Mandatory\nWhen this option is checked"_s));

        f.policies.CanLinkDocument = false;
        DVMessage msg;
        std::tie(msg.UserID, msg.Subject, msg.Message) = std::tuple{u"alice"_s, u"Lunch"_s, u"Noon?"_s};
        frmReply reply(f.context);
        reply.Open(msg, u"R1"_s, false);
        QCOMPARE((QStringList{reply.ui.txtSubject->text(), reply.ui.txtOriginal->toPlainText()}),
                 (QStringList{u"Lunch"_s, u"Noon?"_s}));
        QTest::keyClicks(reply.ui.txtText, u"Yes"_s);
        QVERIFY(!reply.BeingWritten());
        reply.show();
        // Without the right to link, the link's label goes with it.
        QVERIFY(reply.BeingWritten() && !reply.ui.lblLink->isVisibleTo(&reply) &&
                !reply.ui.txtLink->isVisibleTo(&reply));
        switchLanguage(&reply, 1);
        QCOMPARE((QStringList{reply.ui.lblText->text().remove(u'&'), reply.windowTitle()}),
                 (QStringList{u"Texte :"_s, u"Réponse à alice"_s}));
        reply.ui.txtText->setFocus();
        QTRY_VERIFY(reply.ui.lblHint->toPlainText().startsWith(u"Texte\n"_s));
        reply.Open(msg, u"R2"_s, false);
        QVERIFY(!reply.BeingWritten());
        QTest::mouseClick(reply.ui.CancelButton, Qt::LeftButton);
        QVERIFY(!reply.isVisible() && f.sent.isEmpty());

        // An untouched composer is reused; one being written asks first: No keeps every word.
        DesktopFrontend desktop;
        desktop.setAuthoring(f.context);
        desktop.OpenMessageForm(NewMessage, u"ID1"_s, u"bob"_s);
        frmMessage *composer = desktop.messageForm();
        QVERIFY(composer);
        desktop.OpenMessageForm(NewMessage, u"ID2"_s, u"bob"_s);
        QCOMPARE(composer->logic().Tag, u"ID2"_s);
        QTest::keyClicks(composer->ui.txtText, u"Half a thought"_s);
        whenModal<frmDialog>([](frmDialog *box) { box->Button[3]->click(); });
        desktop.OpenMessageForm(NewMessage, u"ID3"_s, QString());
        QCOMPARE(desktop.messageForm(), composer);
        QCOMPARE((QStringList{composer->logic().Tag, composer->ui.txtText->toPlainText(),
                              composer->ui.txtTarget->text()}),
                 (QStringList{u"ID2"_s, u"Half a thought"_s, u"bob"_s}));
        whenModal<frmDialog>([](frmDialog *box) { box->Button[2]->click(); });
        desktop.OpenMessageForm(NewMessage, u"ID3"_s, QString());
        QCOMPARE((QStringList{composer->logic().Tag, composer->ui.txtText->toPlainText()}),
                 (QStringList{u"ID3"_s, QString()}));
        desktop.setAuthoring(std::nullopt);
    }

    // A level's name paints in its colours, framed when chosen; its description, or no colours: plainly.
    void levelRowsPaintTheirLook()
    {
        QStandardItemModel model(0, 2);
        auto *name = new QStandardItem(u"Alert"_s);
        name->setData(QVariantList{0x0000FFu, 0xFFFFFFu, 0u, false}, LevelDelegate::ColorRole);
        model.appendRow({name, new QStandardItem(u"Red"_s)});
        model.appendRow({new QStandardItem(u"Plain"_s), new QStandardItem()});
        LevelDelegate delegate;
        const auto painted = [&](int row, int column, bool selected) {
            QImage image(60, 20, QImage::Format_RGB32);
            image.fill(Qt::white);
            QStyleOptionViewItem option;
            option.rect = image.rect();
            option.state = selected ? QStyle::State_Selected : QStyle::State_None;
            option.palette.setColor(QPalette::Highlight, Qt::blue);
            const QImage blank = image.copy();
            QPainter painter(&image);
            delegate.paint(&painter, option, model.index(row, column));
            painter.end();
            // The back, the corner, and black when anything was drawn at all.
            return QList<QColor>{image.pixelColor(3, 3), image.pixelColor(0, 0),
                                 image != blank ? Qt::black : Qt::white};
        };
        QCOMPARE(painted(0, 0, false).value(0), QColor(Qt::red));
        // The list's painter comes back as it was lent, whatever the level drew with.
        QImage canvas(60, 20, QImage::Format_RGB32);
        QPainter lent(&canvas);
        const std::pair before{lent.pen(), lent.font()};
        QStyleOptionViewItem chosen;
        chosen.rect = canvas.rect();
        chosen.state = QStyle::State_Selected;
        chosen.font.setPointSize(30);
        delegate.paint(&lent, chosen, model.index(0, 0));
        QVERIFY(std::pair(lent.pen(), lent.font()) == before);
        QCOMPARE(painted(0, 0, true), (QList<QColor>{Qt::red, Qt::blue, Qt::black}));
        // Drawn plainly: the text, not the level's back.
        for (const auto &[row, column] : {std::pair{0, 1}, {1, 0}}) {
            const QList<QColor> plain = painted(row, column, false);
            QVERIFY(plain.value(0) != QColor(Qt::red) && plain.value(2) == QColor(Qt::black));
        }
    }
};

QTEST_MAIN(TestComposerForms)
#include "tst_composerforms.moc"

#include "console/PoliciesForm.h"
#include "console/frmPolicies.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QApplication>
#include <QFocusEvent>
#include <QPointer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Sent
{
    QString reference, codes;
};

PoliciesForm::Context recordTo(QList<Sent> &sent)
{
    return {[&sent](const QString &reference, const QString &codes) {
        sent.append({reference, codes});
        return true;
    }};
}

} // namespace

class TestPolicies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { gOptions().Language = 0; }

    // Unchecking "May send messages" greys every authoring row, the extensions
    // with them, and the greyed values still travel with the record.
    void sendMessagesGreysAuthoringButKeepsValues()
    {
        QList<Sent> sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(u"jdoe"_s, u"RPTG;LFTM=30;SEND;"_s);
        QVERIFY(form.IsEnabled(u"txtExtensions"));
        form.chkSendMessages = false;
        form.CheckChanged();
        for (const auto name : {u"numLifetime", u"lblLifetime", u"lblDays", u"chkAdminister", u"chkSendToAll",
                                u"chkBroadcast", u"chkRepeating", u"chkRequestNotification", u"chkUseDomain",
                                u"chkUseKorvan", u"chkLink", u"txtExtensions", u"lblExtensions"})
            QVERIFY2(!form.IsEnabled(name), qPrintable(QStringView(name).toString()));
        for (const auto name :
             {u"chkExitClient", u"chkModify", u"chkSendMessages", u"numReconnect", u"OKButton"})
            QVERIFY2(form.IsEnabled(name), qPrintable(QStringView(name).toString()));
        QVERIFY(form.OKButton());
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].reference, u"jdoe"_s);
        QCOMPARE(sent[0].codes, u"MSGS;RPTG;LFTM=30;SEND;"_s);
    }

    // Without documents the refused extensions are greyed, not lost; what a
    // person types there cannot break the record's text.
    void linkOffKeepsExtensions()
    {
        QList<Sent> sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(QString(), QString());
        form.txtExtensions = u"exe;\"com\"=\x02pif"_s;
        form.Changed();
        form.chkLink = false;
        form.CheckChanged();
        QVERIFY(!form.IsEnabled(u"txtExtensions"));
        QVERIFY(!form.IsEnabled(u"lblExtensions"));
        QVERIFY(form.IsEnabled(u"chkUseDomain"));
        QVERIFY(form.OKButton());
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].reference, QString());
        QCOMPARE(sent[0].codes, u"DEXT=exe,compif;LINK;"_s);
    }

    // OK waits for a change; Default refills without sending; Cancel sends nothing.
    void okWaitsForAChangeAndDefaultSendsNothing()
    {
        QList<Sent> sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(u"jdoe"_s, u"MSGS;LFTM=3;RCON=-1;DEXT=;"_s);
        QVERIFY(!form.OKEnabled);
        QVERIFY(!form.IsEnabled(u"OKButton"));
        QCOMPARE(form.numReconnect, -1);
        QVERIFY(!form.IsEnabled(u"chkLink"));
        form.DefaultButton();
        QVERIFY(sent.isEmpty());
        QVERIFY(form.chkSendMessages);
        QCOMPARE(form.numLifetime, 7);
        QCOMPARE(form.numReconnect, 60);
        QCOMPARE(form.txtExtensions, u"exe,bat,cmd,vbs,reg"_s);
        QVERIFY(form.IsEnabled(u"chkLink"));
        form.CancelButton();
        QVERIFY(sent.isEmpty());
        QVERIFY(form.OKButton());
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].codes, QString());
    }

    // Values the editors cannot show, or could show only as another, go back as
    // they came when the person changed something else; a value set is taken.
    void untouchedValuesGoBackAsTheyCame()
    {
        TempProfile profile;
        QList<Sent> sent;
        frmPolicies window(recordTo(sent));
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.Initialise(u"jdoe"_s, u"LFTM=30000;RCON=-7;"_s);
        QCOMPARE(window.ui.numLifetime->value(), 30000);
        window.ui.chkExitClient->click();
        window.ui.OKButton->click();
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].codes, u"EXIT;LFTM=30000;RCON=-7;"_s);

        window.Initialise(u"jdoe"_s, u"LFTM=30000;RCON=-7;"_s);
        window.ui.numReconnect->setValue(5);
        window.ui.OKButton->click();
        QCOMPARE(sent.size(), 2);
        QCOMPARE(sent[1].codes, u"LFTM=30000;RCON=5;"_s);
    }

    // A pasted separator in the refused extensions never reaches the wire; policies
    // that do not leave keep the window open; too long ones are refused; in both languages.
    void refusedBeforeTheWire()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        QList<Sent> sent;
        bool linkUp = false;
        frmPolicies window({[&](const QString &reference, const QString &codes) {
            if (linkUp)
                sent.append({reference, codes});
            return linkUp;
        }});
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.Initialise(u"jdoe"_s, QString());
        window.show();
        window.ui.txtExtensions->selectAll();
        window.ui.txtExtensions->insert(u"exe,\u0003bat"_s);
        window.ui.OKButton->click();
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions.last().caption, u"Invalid characters"_s);
        QCOMPARE(window.ui.txtExtensions->text(), u"exe,bat"_s);
        QVERIFY(window.isVisible());

        window.ui.OKButton->click();
        QCOMPARE(frontend.questions.last().caption, u"Not sent"_s);
        QVERIFY(window.isVisible());
        gOptions().Language = 1;
        window.ui.OKButton->click();
        QCOMPARE(frontend.questions.last().caption, u"Non envoyé"_s);
        QVERIFY(window.isVisible());
        QVERIFY(window.ui.OKButton->isEnabled());
        gOptions().Language = 0;

        linkUp = true;
        window.ui.txtExtensions->setText(QString(40000, u'x'));
        window.ui.OKButton->click();
        QCOMPARE(frontend.questions.last().caption, u"Too long to send"_s);
        QCOMPARE(frontend.questions.size(), 4);
        QVERIFY(sent.isEmpty());
        QVERIFY(window.isVisible());

        window.ui.txtExtensions->setText(u"exe,bat"_s);
        window.ui.OKButton->click();
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].reference, u"jdoe"_s);
        QCOMPARE(sent[0].codes, u"DEXT=exe,bat;"_s);
        QVERIFY(!window.isVisible());
    }

    // Escape leaves the window and sends nothing.
    void escapeCloses()
    {
        TempProfile profile;
        QList<Sent> sent;
        QPointer<frmPolicies> window = new frmPolicies(recordTo(sent));
        window->Initialise(QString(), QString());
        window->show();
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
        window->ui.chkExitClient->click();
        window->ui.numLifetime->setFocus();
        QTest::keyClick(window->ui.numLifetime, Qt::Key_Escape);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());
        QVERIFY(sent.isEmpty());
    }

    void titles()
    {
        QList<Sent> sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(QString(), Policies());
        QCOMPARE(form.Caption(), u"Universal Policies"_s);
        QCOMPARE(form.Icon(), PoliciesForm::WindowIcon::Universal);
        form.Initialise(u"Sales"_s, Policies());
        QCOMPARE(form.Caption(), u"Policies for Sales"_s);
        QCOMPARE(form.Icon(), PoliciesForm::WindowIcon::Personal);
        gOptions().Language = 1;
        QCOMPARE(form.Caption(), u"Stratégies pour Sales"_s);
        QCOMPARE(PoliciesForm::Label(u"chkSendMessages"), u"Peut envoyer des messages"_s);
    }

    void garbageText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("lifetime");
        QTest::addColumn<int>("reconnect");
        QTest::addColumn<bool>("logged");
        QTest::newRow("noise") << u";;=;xyzzy;LFTM;RCON=;\x01\x02\x03\x04"_s << 7 << 0 << false;
        QTest::newRow("letters") << u"LFTM=abc;RCON=-1x;"_s << 0 << -1 << false;
        QTest::newRow("beyond 16 bits") << u"LFTM=99999;"_s << 7 << 60 << false;
        QTest::newRow("beyond the editors") << u"LFTM=-3;RCON=-7;"_s << 0 << -1 << true;
        QTest::newRow("too short") << u"ab"_s << 7 << 60 << false;
    }

    // A text of any shape gives the record's own reading, shown within the editors' ranges.
    void garbageText()
    {
        QFETCH(QString, text);
        TempProfile profile;
        LogFile::renew();
        QList<Sent> sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(u"x"_s, text);
        Policies expected;
        expected.ToObject(text);
        QCOMPARE(form.Record().ToString(), expected.ToString());
        QTEST(form.numLifetime, "lifetime");
        QTEST(form.numReconnect, "reconnect");
        QTEST(logText().contains(u"frmPolicies:AssignValues - Lifetime out of range: -3"_s), "logged");
    }

    // The window on its controls: the check box greys the lower part, OK sends once and closes.
    void widgetBindsTheLogic()
    {
        TempProfile profile;
        QList<Sent> sent;
        QPointer<frmPolicies> window = new frmPolicies(recordTo(sent));
        window->Initialise(QString(), u"LINK;"_s);
        window->show();
        QCOMPARE(window->windowTitle(), u"Universal Policies"_s);
        QVERIFY(!window->windowIcon().isNull());
        QCOMPARE(window->ui.lblDays->text(), u"Days"_s);
        QCOMPARE(window->ui.numReconnect->minimum(), -1);
        QVERIFY(!window->ui.OKButton->isEnabled());
        QVERIFY(!window->ui.txtExtensions->isEnabled());

        QFocusEvent focus(QEvent::FocusIn);
        QCoreApplication::sendEvent(window->ui.numReconnect, &focus);
        QVERIFY(window->ui.lblHint->toPlainText().startsWith(u"Reconnect timer"_s));
        gOptions().Language = 1;
        QEvent change(QEvent::LanguageChange);
        QCoreApplication::sendEvent(window, &change);
        QCOMPARE(window->windowTitle(), u"Stratégies universelles"_s);
        QVERIFY(window->ui.lblHint->toPlainText().startsWith(u"Délai de reconnexion"_s));

        window->ui.chkSendMessages->click();
        QVERIFY(!window->ui.numLifetime->isEnabled());
        QVERIFY(!window->ui.lblDays->isEnabled());
        QVERIFY(window->ui.chkExitClient->isEnabled());
        QVERIFY(window->ui.OKButton->isEnabled());
        window->ui.OKButton->click();
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].codes, u"MSGS;LINK;"_s);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());
    }
};

QTEST_MAIN(TestPolicies)
#include "tst_policies.moc"

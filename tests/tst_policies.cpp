#include "core/Globals.h"
#include "core/Options.h"
#include "editors/PoliciesForm.h"
#include "editors/frmPolicies.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QApplication>
#include <QFocusEvent>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList Authoring = {
    u"numLifetime"_s,  u"lblLifetime"_s,  u"lblDays"_s,      u"chkAdminister"_s,
    u"chkSendToAll"_s, u"chkBroadcast"_s, u"chkRepeating"_s, u"chkRequestNotification"_s,
    u"chkUseDomain"_s, u"chkUseKorvan"_s, u"chkLink"_s};
const QStringList Extensions = {u"txtExtensions"_s, u"lblExtensions"_s};

// The controls greyed now.
QStringList greyed(const PoliciesForm &form)
{
    QStringList off;
    for (const QString &name : Authoring + Extensions +
                                   QStringList{u"chkExitClient"_s, u"chkModify"_s, u"chkSendMessages"_s,
                                               u"numReconnect"_s, u"OKButton"_s})
        if (!form.IsEnabled(name))
            off << name;
    return off;
}

// What OK sent, as "reference codes", while the link is up.
PoliciesForm::Context recordTo(QStringList &sent, const bool *linkUp = nullptr)
{
    return {[&sent, linkUp](const QString &reference, const QString &codes) {
        if (linkUp && !*linkUp)
            return false;
        sent << reference + u' ' + codes;
        return true;
    }};
}

} // namespace

class TestPolicies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { gOptions().Language = 0; }

    // OK waits for a change. Unchecking "May send messages" greys every authoring row and the
    // extensions, no documents the extensions alone; greyed values still travel, typed extensions
    // cannot break the text. Default refills without sending; Cancel sends nothing.
    void enablingWhatTravelsAndTheWindow()
    {
        QStringList sent;
        PoliciesForm form(recordTo(sent));
        form.Initialise(u"jdoe"_s, u"RPTG;LFTM=30;SEND;"_s);
        QCOMPARE(greyed(form), QStringList{u"OKButton"_s});
        form.chkSendMessages = false;
        form.CheckChanged();
        QCOMPARE(greyed(form), Authoring + Extensions);
        QVERIFY(form.OKButton());
        QCOMPARE(greyed(form), Authoring + Extensions + QStringList{u"OKButton"_s});

        form.DefaultButton();
        QCOMPARE(
            (QVariantList{form.chkSendMessages, form.numLifetime, form.numReconnect, form.txtExtensions}),
            (QVariantList{true, 7, 60, u"exe,bat,cmd,vbs,reg"_s}));
        QCOMPARE(greyed(form), QStringList());
        form.CancelButton();
        form.txtExtensions = u"exe;\"com\"=\x02pif"_s;
        form.Changed();
        form.chkLink = false;
        form.CheckChanged();
        QCOMPARE(greyed(form), Extensions);
        QVERIFY(form.OKButton());
        QCOMPARE(sent, (QStringList{u"jdoe MSGS;RPTG;LFTM=30;SEND;"_s, u"jdoe DEXT=exe,compif;LINK;"_s}));
        sent.clear();

        // Every field goes through the window and back, values the editors cannot show as they came.
        // A pasted separator never reaches the wire; policies that do not leave keep the window open;
        // too long ones are refused; the window's words and hints follow the language.
        TempProfile profile;
        LogFile::renew();
        bool linkUp = true;
        frmPolicies window(recordTo(sent, &linkUp));
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.Initialise(
            QString(), u"MSGS;RPTG;NOTE;NTDG;KVGG;EXIT;DSPO;ADMN;LFTM=-3;DEXT=a;LINK;SEND;BRDC;RCON=-7;"_s);
        QCOMPARE(window.windowTitle(), u"Universal Policies"_s);
        QCOMPARE(window.logic().Icon(), PoliciesForm::WindowIcon::Universal);
        QCOMPARE(std::pair(window.ui.numLifetime->value(), window.ui.numReconnect->value()),
                 std::pair(0, -1));
        QVERIFY(logText().contains(u"frmPolicies:AssignValues - Lifetime out of range: -3"_s));
        QVERIFY(!window.ui.numLifetime->isEnabled() && !window.ui.OKButton->isEnabled());
        // Each box turned back to its default leaves only the numbers and the extensions.
        for (QCheckBox *check : window.findChildren<QCheckBox *>())
            check->setChecked(!check->isChecked());
        QVERIFY(window.ui.numLifetime->isEnabled() && window.ui.OKButton->isEnabled());
        window.ui.OKButton->click();
        QCOMPARE(sent, QStringList{u" LFTM=-3;DEXT=a;RCON=-7;"_s});

        window.Initialise(u"jdoe"_s, u"LFTM=30000;RCON=-7;"_s);
        QCOMPARE(window.ui.numLifetime->value(), 30000);
        window.ui.numReconnect->setValue(5);
        window.ui.numLifetime->setValue(9);
        window.ui.OKButton->click();
        QCOMPARE(sent.last(), u"jdoe LFTM=9;RCON=5;"_s);

        // Escape from inside a field leaves the window and sends nothing.
        window.show();
        window.ui.chkExitClient->click();
        QTest::keyClick(window.ui.numLifetime, Qt::Key_Escape);
        QVERIFY(!window.isVisible());
        QCOMPARE(sent.size(), 2);

        sent.clear();
        linkUp = false;
        RecordingFrontend frontend;
        // Policies handed over whole show as they are.
        Policies handed;
        handed.CanSendMessages = false;
        window.Initialise(u"ann"_s, handed);
        QVERIFY(!window.ui.chkSendMessages->isChecked());
        window.Initialise(u"jdoe"_s, QString());
        window.show();
        QCOMPARE(window.windowTitle(), u"Policies for jdoe"_s);
        QCOMPARE(window.logic().Icon(), PoliciesForm::WindowIcon::Personal);
        QFocusEvent focus(QEvent::FocusIn);
        QCoreApplication::sendEvent(window.ui.numReconnect, &focus);
        QVERIFY(window.ui.lblHint->toPlainText().startsWith(u"Reconnect timer\nThe value represents"_s));
        window.ui.txtExtensions->selectAll();
        window.ui.txtExtensions->insert(u"exe,\u0003bat"_s);
        window.ui.OKButton->click();
        QCOMPARE(window.ui.txtExtensions->text(), u"exe,bat"_s);
        window.ui.OKButton->click();
        gOptions().Language = 1;
        window.ui.OKButton->click();
        QVERIFY(window.isVisible() && window.ui.OKButton->isEnabled());
        QEvent change(QEvent::LanguageChange);
        QCoreApplication::sendEvent(&window, &change);
        QCOMPARE(window.windowTitle(), u"Stratégies pour jdoe"_s);
        QCOMPARE(window.ui.lblDays->text(), u"Jours"_s);
        QCOMPARE(window.ui.chkSendMessages->text().remove(u'&'), u"Peut envoyer des messages"_s);
        QVERIFY(window.ui.lblHint->toPlainText().startsWith(u"Délai de reconnexion"_s));
        gOptions().Language = 0;

        linkUp = true;
        window.ui.txtExtensions->setText(QString(40000, u'x'));
        window.ui.OKButton->click();
        QVERIFY(sent.isEmpty() && window.isVisible());
        QCOMPARE(frontend.captions(), (QStringList{u"Invalid characters"_s, u"Not sent"_s, u"Non envoyé"_s,
                                                   u"Too long to send"_s}));

        window.ui.txtExtensions->setText(u"exe,bat"_s);
        window.ui.OKButton->click();
        QCOMPARE(sent, QStringList{u"jdoe DEXT=exe,bat;"_s});
        QVERIFY(!window.isVisible());
    }
};

QTEST_MAIN(TestPolicies)
#include "tst_policies.moc"

#include "banner/frmClientConfig.h"
#include "console/frmConfigServer.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "core/PropertyRows.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"
#include "ui/PropertyInspector.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

class TestOptionForms : public QObject
{
    Q_OBJECT

private:
    // The process's settings on a file of the profile, read as the client reads them.
    static Options &settings(const TempProfile &profile)
    {
        gProcess().AppDataPath = profile.dataHome();
        Options &options = gOptions();
        options.setIniPath(profile.path() + u"/KorvaneClient.ini"_s);
        options.ReadOptions();
        return options;
    }

    // A window on screen and active, so that its letters reach their buttons.
    static void showActive(QWidget *window)
    {
        window->show();
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
    }

    // Digits typed over a spin row's value, the focus left in it, then OK by its letter.
    static void typeThenAltO(QDialog &form, PropertyInspector &rows, const QString &key,
                             const QString &digits)
    {
        const auto *ok = form.findChild<QPushButton *>(u"OKButton"_s);
        QCOMPARE(QKeySequence::mnemonic(ok->text()), QKeySequence(Qt::ALT | Qt::Key_O));
        QWidget *spin = rows.editor(key);
        spin->setFocus();
        QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(spin, digits);
        QCOMPARE(QApplication::focusWidget(), spin);
        QTest::keyClick(spin, Qt::Key_O, Qt::AltModifier);
        QTRY_VERIFY(!form.isVisible());
    }

    static Options readBack(const TempProfile &profile)
    {
        Options options;
        options.setIniPath(profile.path() + u"/KorvaneClient.ini"_s);
        options.ReadOptions();
        return options;
    }

private Q_SLOTS:
    void okStoresEveryRowAfterALanguageSwitch()
    {
        TempProfile profile;
        Options &options = settings(profile);
        UserInfos user(u"reader"_s);
        int told = 0;
        frmClientConfig form({options, user, [&] { ++told; }});
        PropertyInspector &rows = *form.ui.propConfig;
        rows.setValue(u"FontName"_s, u"Courier"_s);
        rows.setValue(u"FontSize"_s, 20);
        rows.setValue(u"FontItalic"_s, true);
        rows.setValue(u"PositionHorizontal"_s, 2);
        rows.setValue(u"VerticalPosition"_s, 1);
        rows.setValue(u"RefreshRate"_s, 50);
        rows.setValue(u"RefreshSteps"_s, 5);
        rows.setValue(u"Trace"_s, true);

        // The language relabels at once, and the edits above survive it.
        qobject_cast<QComboBox *>(rows.editor(u"Language"_s))->setCurrentIndex(1);
        QCOMPARE(form.windowTitle(), u"Options du client"_s);
        QCOMPARE(rows.caption(u"RefreshRate"_s), u"Fréquence de rafraîchissement"_s);
        QCOMPARE(qobject_cast<QComboBox *>(rows.editor(u"PositionHorizontal"_s))->currentText(), u"Droite"_s);
        QCOMPARE(rows.value(u"RefreshRate"_s), QVariant(50));
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"Courier 20, Italique"_s));
        QCOMPARE(told, 0);

        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(form.result(), int(QDialog::Accepted));
        QCOMPARE(told, 1);
        QCOMPARE(user.Language, qint16(1));
        const Options saved = readBack(profile);
        QCOMPARE(saved.Font.Name, u"Courier"_s);
        QCOMPARE(saved.Font.Size, 20);
        QCOMPARE(saved.Font.Bold, false);
        QCOMPARE(saved.Font.Italic, true);
        QCOMPARE(saved.HorizontalPosition, 2);
        QCOMPARE(saved.VerticalPosition, 1);
        QCOMPARE(saved.RefreshRate, 50);
        QCOMPARE(saved.RefreshSteps, 5);
        QCOMPARE(saved.Language, qint16(1));
        QCOMPARE(saved.Trace, true);
    }

    void fontSummaryFollowsTheRowsBeforeOk()
    {
        TempProfile profile;
        Options &options = settings(profile);
        // A name this machine lacks is shown as it is stored.
        options.Font = {u"No Such Family Here"_s, false, false, 12};
        UserInfos user(u"reader"_s);
        frmClientConfig form({options, user, {}});
        PropertyInspector &rows = *form.ui.propConfig;
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"No Such Family Here 12"_s));
        QTest::keyClick(rows.editor(u"FontBold"_s), Qt::Key_Space);
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"No Such Family Here 12, Bold"_s));
        qobject_cast<QSpinBox *>(rows.editor(u"FontSize"_s))->setValue(14);
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"No Such Family Here 14, Bold"_s));
        // A font given in pixels keeps the row's size.
        form.logic().FontChosen(u"Serif"_s, -1, false, true);
        QCOMPARE(form.logic().FontSummary(), u"Serif 14, Italic"_s);
        QCOMPARE(options.Font.Bold, false);
    }

    void defaultRestoresSavesAndCloses()
    {
        TempProfile profile;
        Options &options = settings(profile);
        options.Font = {u"Courier"_s, true, true, 30};
        options.RefreshRate = 7;
        options.RefreshSteps = 9;
        options.Trace = true;
        options.HorizontalPosition = 2;
        options.SaveOptions();
        UserInfos user(u"reader"_s);
        int told = 0;
        frmClientConfig form({options, user, [&] { ++told; }});
        QTest::mouseClick(form.ui.DefaultButton, Qt::LeftButton);
        QCOMPARE(form.result(), int(QDialog::Accepted));
        QCOMPARE(told, 1);
        const Options saved = readBack(profile);
        QCOMPARE(saved.Font.Name, u"Arial"_s);
        QCOMPARE(saved.Font.Bold, false);
        QCOMPARE(saved.Font.Italic, false);
        QCOMPARE(saved.Font.Size, 12);
        QCOMPARE(saved.RefreshRate, 100);
        QCOMPARE(saved.RefreshSteps, 1);
        QCOMPARE(saved.Trace, false);
        // A reset leaves the banner's place alone.
        QCOMPARE(saved.HorizontalPosition, 2);
    }

    void cancelStoresNothingAndRestoresTheLanguage()
    {
        TempProfile profile;
        Options &options = settings(profile);
        UserInfos user(u"reader"_s);
        int told = 0;
        frmClientConfig form({options, user, [&] { ++told; }});
        form.ui.propConfig->setValue(u"RefreshRate"_s, 3);
        qobject_cast<QComboBox *>(form.ui.propConfig->editor(u"Language"_s))->setCurrentIndex(1);
        QCOMPARE(ResString(549), u"Options du client"_s);
        QTest::mouseClick(form.ui.CancelButton, Qt::LeftButton);
        QCOMPARE(form.result(), int(QDialog::Rejected));
        QCOMPARE(options.Language, qint16(0));
        QCOMPARE(ResString(549), u"Client options"_s);
        QCOMPARE(options.RefreshRate, 100);
        QCOMPARE(told, 0);
        QVERIFY(!QFile::exists(options.iniPath()));
    }

    void inspectorRowKindsThroughItsApi()
    {
        PropertyInspector inspector;
        inspector.addRows({{u"s"_s, PropertyKind::Section},
                           {u"check"_s, PropertyKind::Check, u"s"_s},
                           {u"list"_s, PropertyKind::List, u"s"_s},
                           {u"spin"_s, PropertyKind::Spin, u"s"_s, 0, 1, 20},
                           {u"text"_s, PropertyKind::Text, u"s"_s},
                           {u"path"_s, PropertyKind::TextButton, u"s"_s, 0, 0, 0, true}});
        QSignalSpy toggled(&inspector, &PropertyInspector::checkToggled);
        QSignalSpy edited(&inspector, &PropertyInspector::edited);
        QSignalSpy clicked(&inspector, &PropertyInspector::buttonClicked);
        QSignalSpy editing(&inspector, &PropertyInspector::editing);

        QTest::keyClick(inspector.editor(u"check"_s), Qt::Key_Space);
        QCOMPARE(toggled.size(), 1);
        QCOMPARE(toggled.at(0), (QVariantList{u"check"_s, true}));
        QCOMPARE(inspector.value(u"check"_s), QVariant(true));

        inspector.setListItems(u"list"_s, {u"a"_s, u"b"_s, u"c"_s});
        inspector.setValue(u"list"_s, 1);
        QCOMPARE(edited.size(), 1); // set by the program: no edit
        QTest::keyClick(inspector.editor(u"list"_s), Qt::Key_Down);
        QCOMPARE(inspector.value(u"list"_s), QVariant(2));
        QCOMPARE(edited.last().at(0), QVariant(u"list"_s));
        inspector.setListItems(u"list"_s, {u"A"_s, u"B"_s, u"C"_s});
        QCOMPARE(inspector.value(u"list"_s), QVariant(2));

        inspector.setValue(u"spin"_s, 500);
        QCOMPARE(inspector.value(u"spin"_s), QVariant(20));
        QTest::keyClick(inspector.editor(u"spin"_s), Qt::Key_Up);
        QCOMPARE(inspector.value(u"spin"_s), QVariant(20));
        inspector.setValue(u"spin"_s, -4);
        QCOMPARE(inspector.value(u"spin"_s), QVariant(1));

        // Leaving a text unchanged is no edit.
        const qsizetype before = edited.size();
        QTest::keyClicks(inspector.editor(u"text"_s), u"x"_s);
        QTest::keyClick(inspector.editor(u"text"_s), Qt::Key_Return);
        QTest::keyClick(inspector.editor(u"text"_s), Qt::Key_Return);
        QCOMPARE(edited.size(), before + 1);

        QTest::keyClick(inspector.editor(u"path"_s), Qt::Key_F4);
        QTest::keyClick(inspector.editor(u"path"_s), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(clicked.size(), 2);
        inspector.setRowEnabled(u"path"_s, false);
        QTest::keyClick(inspector.editor(u"path"_s), Qt::Key_F4);
        QCOMPARE(clicked.size(), 2);

        // The arrows move from a check to the next row.
        inspector.setCurrentKey(u"check"_s);
        QTest::keyClick(inspector.editor(u"check"_s), Qt::Key_Down);
        QCOMPARE(inspector.currentKey(), u"list"_s);
        QCOMPARE(editing.last().at(0), QVariant(u"list"_s));
    }

    void tabGoesThroughTheRowsBeforeTheButtons()
    {
        QWidget window;
        auto *inspector = new PropertyInspector(&window);
        auto *button = new QPushButton(&window);
        inspector->addRows({{u"a"_s, PropertyKind::Check}, {u"b"_s, PropertyKind::Text}});
        window.show();
        QApplication::setActiveWindow(&window);
        inspector->editor(u"a"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), inspector->editor(u"b"_s));
        QCOMPARE(inspector->currentKey(), u"b"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button);
    }

    // OK pressed by its letter while a spin row still holds typed digits takes them,
    // in the options and in the server's configuration.
    void okByItsLetterTakesWhatWasTyped()
    {
        TempProfile profile;
        Options &options = settings(profile);
        UserInfos user(u"reader"_s);
        frmClientConfig optionsForm({options, user, {}});
        showActive(&optionsForm);
        typeThenAltO(optionsForm, *optionsForm.ui.propConfig, u"RefreshRate"_s, u"42"_s);
        QCOMPARE(optionsForm.result(), int(QDialog::Accepted));
        QCOMPARE(readBack(profile).RefreshRate, 42);

        RecordingFrontend frontend;
        QList<ServerConfig> sent;
        frmConfigServer server({frontend, [&](const ServerConfig &config) {
                                    sent.append(config);
                                    return true;
                                }});
        server.setAttribute(Qt::WA_DeleteOnClose, false);
        server.SetConfig(u"PORT=5000;UDPP=5001;"_s);
        showActive(&server);
        typeThenAltO(server, *server.ui.propConfig, u"UDPPort"_s, u"5002"_s);
        QVERIFY(frontend.questions.isEmpty());
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].ToString(), u"PORT=5000;UDPP=5002;"_s);
    }

    // Values beyond a row's editor that the person left alone go back exactly as they came.
    void untouchedRowsGoBackAsTheyCame()
    {
        TempProfile profile;
        Options &options = settings(profile);
        options.Font = {u"Courier"_s, false, false, 96};
        options.RefreshRate = 150;
        options.RefreshSteps = 0;
        options.SaveOptions();
        UserInfos user(u"reader"_s);
        frmClientConfig form({options, user, {}});
        PropertyInspector &rows = *form.ui.propConfig;
        QCOMPARE(rows.value(u"FontSize"_s), QVariant(96));
        // Bold reads the font rows back into the summary: the size is not clamped by it.
        QTest::keyClick(rows.editor(u"FontBold"_s), Qt::Key_Space);
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"Courier 96, Bold"_s));
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        Options saved = readBack(profile);
        QCOMPARE(saved.Font.Size, 96);
        QCOMPARE(saved.Font.Bold, true);
        QCOMPARE(saved.RefreshRate, 150);
        QCOMPARE(saved.RefreshSteps, 0);

        // A speed the person does set is taken, the other one still as it came.
        frmClientConfig again({gOptions(), user, {}});
        qobject_cast<QSpinBox *>(again.ui.propConfig->editor(u"RefreshSteps"_s))->setValue(3);
        QTest::mouseClick(again.ui.OKButton, Qt::LeftButton);
        saved = readBack(profile);
        QCOMPARE(saved.RefreshSteps, 3);
        QCOMPARE(saved.RefreshRate, 150);

        RecordingFrontend frontend;
        QList<ServerConfig> sent;
        QPointer<frmConfigServer> server = new frmConfigServer({frontend, [&](const ServerConfig &config) {
                                                                    sent.append(config);
                                                                    return true;
                                                                }});
        server->SetConfig(u"PORT=70000;UDPP=0;GENE;GENP=99999;"_s);
        server->show();
        QCOMPARE(server->ui.propConfig->value(u"ClientPort"_s), QVariant(65535));
        QTest::keyClick(server->ui.propConfig->editor(u"DebugTrace"_s), Qt::Key_Space);
        QTest::mouseClick(server->ui.OKButton, Qt::LeftButton);
        // No port was chosen, so there is no port question either.
        QVERIFY(frontend.questions.isEmpty());
        QCOMPARE(sent.size(), 1);
        QCOMPARE(Commands::SCU(sent[0]), u"SCU\u0001PORT=70000;UDPP=0;TRCE;GENE;GENP=99999;"_s);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(server.isNull());
    }

    // A pasted separator never reaches the wire, a configuration that does not
    // leave keeps the form open, and one beyond a frame is refused, in both languages.
    void serverConfigurationRefusals()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        QList<ServerConfig> sent;
        bool linkUp = false;
        frmConfigServer form({frontend, [&](const ServerConfig &config) {
                                  if (linkUp)
                                      sent.append(config);
                                  return linkUp;
                              }});
        form.setAttribute(Qt::WA_DeleteOnClose, false);
        form.SetConfig(u"PORT=5000;UDPP=5001;"_s);
        form.show();
        auto *path = qobject_cast<QLineEdit *>(form.ui.propConfig->editor(u"ClientUpdPath"_s));
        path->setFocus();
        path->insert(u"//srv/upd\u0002ates"_s);
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions.last().caption, u"Invalid characters"_s);
        QCOMPARE(path->text(), u"//srv/updates"_s);
        QVERIFY(form.isVisible());

        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.last().caption, u"Not sent"_s);
        QVERIFY(form.isVisible());
        gOptions().Language = 1;
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.last().caption, u"Non envoyé"_s);
        QVERIFY(form.isVisible());
        gOptions().Language = 0;
        QVERIFY(sent.isEmpty());

        linkUp = true;
        const qsizetype asked = frontend.questions.size();
        const QString longPath = u"//srv/"_s + QString(40000, u'x');
        path->setText(longPath);
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.size(), asked + 1);
        QCOMPARE(frontend.questions.last().caption, u"Too long to send"_s);
        QVERIFY(sent.isEmpty());
        QVERIFY(form.isVisible());

        path->setText(u"//srv/updates"_s);
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(sent.size(), 1);
        QCOMPARE(Commands::SCU(sent[0]), u"SCU\u0001PORT=5000;UDPP=5001;CLOC=//srv/updates;"_s);
        QVERIFY(!form.isVisible());
    }

    // Escape leaves both property dialogs, from inside a row, storing and sending nothing.
    void escapeCloses()
    {
        TempProfile profile;
        Options &options = settings(profile);
        UserInfos user(u"reader"_s);
        frmClientConfig form({options, user, {}});
        showActive(&form);
        QWidget *speed = form.ui.propConfig->editor(u"RefreshRate"_s);
        speed->setFocus();
        QTest::keyClicks(speed, u"7"_s);
        QTest::keyClick(speed, Qt::Key_Escape);
        QVERIFY(!form.isVisible());
        QCOMPARE(form.result(), int(QDialog::Rejected));
        QVERIFY(!QFile::exists(options.iniPath()));

        RecordingFrontend frontend;
        bool sent = false;
        QPointer<frmConfigServer> server = new frmConfigServer({frontend, [&](const ServerConfig &) {
                                                                    sent = true;
                                                                    return true;
                                                                }});
        server->SetConfig(u"PORT=5000;UDPP=5001;"_s);
        showActive(server);
        QWidget *port = server->ui.propConfig->editor(u"UDPPort"_s);
        port->setFocus();
        QTest::keyClick(port, Qt::Key_Escape);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(server.isNull());
        QVERIFY(!sent);
        QVERIFY(frontend.questions.isEmpty());
    }

    void serverConfigurationOk()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        QList<ServerConfig> sent;
        auto update = [&](const ServerConfig &config) {
            sent.append(config);
            return true;
        };

        // Garbage gives the defaults, and OK on them is no change.
        QPointer<frmConfigServer> form = new frmConfigServer({frontend, update});
        form->SetConfig(u"garbage;;==;zz\x02"_s);
        form->show();
        QCOMPARE(form->ui.propConfig->value(u"ClientPort"_s), QVariant(58502));
        QCOMPARE(form->ui.propConfig->value(u"GenPort"_s), QVariant(3101));
        QCOMPARE(form->ui.propConfig->value(u"DebugTrace"_s), QVariant(false));
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions[0].text, ResString(139));
        QCOMPARE(frontend.questions[0].caption, ResString(135));
        QVERIFY(sent.isEmpty());
        QVERIFY(!form->isVisible());

        form = new frmConfigServer({frontend, update});
        form->SetConfig(u"PORT=5000;UDPP=5001;GENE;"_s);
        form->show();
        form->ui.propConfig->setValue(u"ClientPort"_s, 6000);
        frontend.answerBox(ResultNo);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(frontend.questions.last().text, ResString(136) + u'\n' + ResString(134));
        QCOMPARE(frontend.questions.last().buttons, int(ButtonsYesNo));
        QCOMPARE(form->ui.propConfig->value(u"ClientPort"_s), QVariant(5000));
        QVERIFY(form->isVisible());
        QVERIFY(sent.isEmpty());

        form->ui.propConfig->setValue(u"ClientPort"_s, 6000);
        frontend.answerBox(ResultYes);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].ToString(), u"PORT=6000;UDPP=5001;GENE;"_s);
        QVERIFY(!form->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(form.isNull());
    }
};

QTEST_MAIN(TestOptionForms)
#include "tst_optionforms.moc"

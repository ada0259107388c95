#include "core/Globals.h"
#include "core/Options.h"
#include "core/PropertyRows.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "editors/frmClientConfig.h"
#include "editors/frmConfigServer.h"
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
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

using Setting = std::pair<QString, QVariant>; // a row of the options dialog and its value
// The settings on a file of a fresh profile, read as the client reads them, and a server whose
// configuration commands are kept while the link is up.
struct Fixture
{
    TempProfile profile;
    Options &options = read(gOptions());
    UserInfos user{u"reader"_s};
    int told = 0;
    RecordingFrontend frontend;
    QStringList sent;
    bool linkUp = true;

    Options &read(Options &into) const
    {
        gProcess().AppDataPath = profile.dataHome();
        into.setIniPath(profile.path() + u"/KorvaneClient.ini"_s,
                        profile.path() + u"/etc/KorvaneClient.ini"_s);
        into.ReadOptions();
        return into;
    }
    ClientConfigForm::Context client{options, user, [this] { ++told; }};
    // What the file holds: font name, size, bold, italic; place across, down; speed, steps; language, trace.
    QString saved() const
    {
        Options o;
        read(o);
        return QString::asprintf("%s %d %d %d %d %d %d %d %d %d", qUtf8Printable(o.Font.Name), o.Font.Size,
                                 o.Font.Bold, o.Font.Italic, o.HorizontalPosition, o.VerticalPosition,
                                 o.RefreshRate, o.RefreshSteps, o.Language, o.Trace);
    }
    QPointer<frmConfigServer> server(const QString &config)
    {
        auto *form = new frmConfigServer({frontend, [this](const ServerConfig &c) {
                                              return linkUp && !(sent << Commands::SCU(c)).isEmpty();
                                          }});
        form->SetConfig(config);
        form->show();
        return form;
    }
};

// A window on screen and active, so that its letters reach their buttons.
void showActive(QWidget *window)
{
    window->show();
    QApplication::setActiveWindow(window);
    QVERIFY(QTest::qWaitForWindowActive(window));
}

// Digits typed over a spin row's value, the focus left in it, then OK by its letter.
template <typename Form>
void typeThenAltO(Form *form, const QString &key, const QString &digits)
{
    showActive(form);
    QWidget *spin = form->ui.propConfig->editor(key);
    spin->setFocus();
    QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(spin, digits);
    QCOMPARE(QApplication::focusWidget(), spin);
    QTest::keyClick(spin, Qt::Key_O, Qt::AltModifier);
    QTRY_VERIFY(!form->isVisible());
}

} // namespace

class TestOptionForms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Cancel or Escape stores nothing and gives the language back; OK stores every row, after a switch too.
    void clientOptions()
    {
        Fixture f;
        for (const bool byEscape : {false, true}) {
            frmClientConfig form(f.client);
            showActive(&form);
            qobject_cast<QComboBox *>(form.ui.propConfig->editor(u"Language"_s))->setCurrentIndex(1);
            QCOMPARE(ResString(549), u"Options du client"_s);
            QWidget *speed = form.ui.propConfig->editor(u"RefreshRate"_s);
            speed->setFocus();
            QVERIFY(form.ui.lblHint->toPlainText().startsWith(u"Fréquence de rafraîchissement\nCette valeur"_s));
            QTest::keyClicks(speed, u"7"_s);
            byEscape ? QTest::keyClick(speed, Qt::Key_Escape)
                     : QTest::mouseClick(form.ui.CancelButton, Qt::LeftButton);
            QCOMPARE(std::pair(form.isVisible(), ResString(549)), std::pair(false, u"Client options"_s));
        }
        QCOMPARE(std::tuple(f.options.RefreshRate, f.told, QFile::exists(f.options.iniPath())),
                 std::tuple(100, 0, false));

        // The list shows the language in use; one this version does not offer shows no choice.
        for (const auto &[code, shown] : {std::pair{qint16(1), 1}, {qint16(7), -1}}) {
            f.options.Language = code;
            QCOMPARE(frmClientConfig(f.client).ui.propConfig->value(u"Language"_s), QVariant(shown));
        }
        f.options.Language = 0;

        std::tie(f.options.HorizontalPosition, f.options.VerticalPosition) = std::tuple{2, 1};
        frmClientConfig form(f.client);
        PropertyInspector &rows = *form.ui.propConfig;
        // The last place in each list shows as chosen; the first one chosen is taken.
        QCOMPARE((QVariantList{rows.value(u"PositionHorizontal"_s), rows.value(u"VerticalPosition"_s)}),
                 (QVariantList{2, 1}));
        for (const auto &[key, value] :
             {Setting{u"FontName"_s, u"Courier"_s}, Setting{u"FontSize"_s, 20},
              Setting{u"FontItalic"_s, true}, Setting{u"PositionHorizontal"_s, 0},
              Setting{u"VerticalPosition"_s, 0}, Setting{u"RefreshSteps"_s, 5}, Setting{u"Trace"_s, true}})
            rows.setValue(key, value);

        // The language relabels at once, and the edits above survive it.
        qobject_cast<QComboBox *>(rows.editor(u"Language"_s))->setCurrentIndex(1);
        QCOMPARE(form.windowTitle(), u"Options du client"_s);
        QCOMPARE(rows.caption(u"RefreshRate"_s), u"Fréquence de rafraîchissement"_s);
        QCOMPARE(qobject_cast<QComboBox *>(rows.editor(u"PositionHorizontal"_s))->currentText(), u"Gauche"_s);
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"Courier 20, Italique"_s));

        // OK by its letter while a spin row still holds typed digits takes them.
        typeThenAltO(&form, u"RefreshRate"_s, u"50"_s);
        QCOMPARE(std::tuple(f.told, f.user.Language, f.saved()),
                 std::tuple(1, qint16(1), u"Courier 20 0 1 0 0 50 5 1 1"_s));
    }

    // Rows the machine's file locks are greyed with a tip; nothing changes them or writes them to the user.
    void lockedRowsAreGreyed()
    {
        Fixture f;
        f.profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Options]\nSpeed[$i]=40\nFontBold[$i]=0\nTrace=1\n");
        f.profile.writeFile(u"KorvaneClient.ini"_s, "[Options]\nSpeed=90\nFontBold=1\nRefresh Rate=2\n");
        f.read(f.options);
        const auto greyed = [](const PropertyInspector &rows) {
            QStringList keys;
            for (const QString &key : rows.keys()) {
                const QWidget *editor = rows.editor(key);
                if (!rows.isRowEnabled(key) && (!editor || !editor->isEnabled()))
                    keys << key + u':' + rows.rowToolTip(key);
            }
            return keys;
        };
        frmClientConfig form(f.client);
        PropertyInspector &rows = *form.ui.propConfig;
        const QString tip = u"Set by your administrator"_s;
        QCOMPARE(greyed(rows), (QStringList{u"FontBold:"_s + tip, u"RefreshRate:"_s + tip}));
        QCOMPARE(
            std::pair(rows.value(u"RefreshRate"_s), rows.editor(u"RefreshRate"_s)->accessibleDescription()),
            std::pair(QVariant(40), tip));
        qobject_cast<QComboBox *>(rows.editor(u"Language"_s))->setCurrentIndex(1);
        QCOMPARE(rows.rowToolTip(u"FontBold"_s), u"Défini par votre administrateur"_s);

        form.logic().FontChosen(u"Serif"_s, 16, true, true);
        QCOMPARE(form.logic().FontSummary(), u"Serif 16, Italique"_s);
        for (const auto &[key, value] : {Setting{u"RefreshRate"_s, 77}, Setting{u"RefreshSteps"_s, 4},
                                         Setting{u"FontName"_s, u"Serif"_s}, Setting{u"FontSize"_s, 16},
                                         Setting{u"FontBold"_s, true}, Setting{u"FontItalic"_s, true}})
            rows.setValue(key, value);
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(std::pair(f.saved(), f.options.RefreshRate), std::pair(u"Serif 16 0 1 0 0 40 4 1 1"_s, 40));
        QCOMPARE(
            f.profile.readFile(u"KorvaneClient.ini"_s),
            QByteArray("[Options]\nRefresh Rate=4\nLanguage=1\nFontName=Serif\nFontItalic=1\nFontSize=16\n"));
        frmClientConfig reset(f.client);
        QTest::mouseClick(reset.ui.DefaultButton, Qt::LeftButton);
        QCOMPARE(f.saved(), u"Arial 12 0 0 0 0 40 1 0 0"_s);
        QCOMPARE(f.profile.readFile(u"KorvaneClient.ini"_s), QByteArray("[Options]\nTrace=0\n"));

        // A locked section greys every row, the font's summary included.
        f.profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Options][$i]\nFontName=Courier\n");
        f.read(f.options);
        frmClientConfig locked(f.client);
        QCOMPARE(greyed(*locked.ui.propConfig).size(), 11);
        QSet<QString> tips;
        for (const QToolButton *button : locked.ui.propConfig->findChildren<QToolButton *>())
            tips << button->toolTip();
        QCOMPARE(tips, QSet{tip});
        QTest::mouseClick(locked.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.profile.readFile(u"KorvaneClient.ini"_s), QByteArray("[Options]\n"));
    }

    // Each kind of row through the inspector's interface and the keyboard; Tab goes through the rows first.
    void inspectorRows()
    {
        QWidget window;
        auto *inspector = new PropertyInspector(&window);
        inspector->addRows({{u"s"_s, PropertyKind::Section},
                            {u"check"_s, PropertyKind::Check, u"s"_s},
                            {u"list"_s, PropertyKind::List, u"s"_s},
                            {u"text"_s, PropertyKind::Text, u"s"_s},
                            {u"path"_s, PropertyKind::TextButton, u"s"_s, 0, 0, 0, true}});
        auto *button = new QPushButton(&window);
        QSignalSpy edited(inspector, &PropertyInspector::edited);
        QSignalSpy clicked(inspector, &PropertyInspector::buttonClicked);
        QSignalSpy editing(inspector, &PropertyInspector::editing);

        QTest::keyClick(inspector->editor(u"check"_s), Qt::Key_Space);

        inspector->setListItems(u"list"_s, {u"a"_s, u"b"_s, u"c"_s});
        inspector->setValue(u"list"_s, 1); // set by the program: no edit
        QTest::keyClick(inspector->editor(u"list"_s), Qt::Key_Down);
        inspector->setListItems(u"list"_s, {u"A"_s, u"B"_s, u"C"_s});
        QCOMPARE(inspector->value(u"list"_s), QVariant(2));

        // Leaving a text unchanged is no edit.
        QTest::keyClicks(inspector->editor(u"text"_s), u"x"_s);
        QTest::keyClick(inspector->editor(u"text"_s), Qt::Key_Return);
        QTest::keyClick(inspector->editor(u"text"_s), Qt::Key_Return);
        QCOMPARE(edited, (QList<QVariantList>{{u"check"_s}, {u"list"_s}, {u"text"_s}}));

        QTest::keyClick(inspector->editor(u"path"_s), Qt::Key_F4);
        QTest::keyClick(inspector->editor(u"path"_s), Qt::Key_Down, Qt::AltModifier);
        inspector->setRowEnabled(u"path"_s, false);
        QTest::keyClick(inspector->editor(u"path"_s), Qt::Key_F4);
        QCOMPARE(clicked.size(), 2);

        // The arrows move from a check to the next row; Tab from the last row to the buttons.
        inspector->setCurrentKey(u"check"_s);
        QTest::keyClick(inspector->editor(u"check"_s), Qt::Key_Down);
        QCOMPARE(inspector->currentKey(), u"list"_s);
        QCOMPARE(editing.last().at(0), QVariant(u"list"_s));
        inspector->setRowEnabled(u"path"_s, true);
        window.show();
        QApplication::setActiveWindow(&window);
        inspector->editor(u"text"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), inspector->editor(u"path"_s));
        QCOMPARE(inspector->currentKey(), u"path"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button);
    }

    // Values beyond a row's editor that the person left alone go back as they came; Default keeps the place.
    void untouchedRowsGoBackAsTheyCame()
    {
        Fixture f;
        // A name this machine lacks is shown as it is stored.
        f.options.Font = {u"No Such Family"_s, false, false, 96};
        std::tie(f.options.RefreshRate, f.options.RefreshSteps, f.options.HorizontalPosition,
                 f.options.Trace) = std::tuple{150, 0, 2, true};
        f.options.SaveOptions();
        frmClientConfig form(f.client);
        PropertyInspector &rows = *form.ui.propConfig;
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"No Such Family 96"_s));
        // Bold reads the font rows back into the summary: the size is not clamped by it.
        QTest::keyClick(rows.editor(u"FontBold"_s), Qt::Key_Space);
        QCOMPARE(rows.value(u"Font"_s), QVariant(u"No Such Family 96, Bold"_s));
        QTest::mouseClick(form.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.saved(), u"No Such Family 96 1 0 2 0 150 0 0 1"_s);

        // A speed or size the person does set is taken, the rest still as it came.
        frmClientConfig again(f.client);
        qobject_cast<QSpinBox *>(again.ui.propConfig->editor(u"RefreshSteps"_s))->setValue(3);
        qobject_cast<QSpinBox *>(again.ui.propConfig->editor(u"FontSize"_s))->setValue(14);
        QCOMPARE(again.ui.propConfig->value(u"Font"_s), QVariant(u"No Such Family 14, Bold"_s));
        QTest::mouseClick(again.ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.saved(), u"No Such Family 14 1 0 2 0 150 3 0 1"_s);

        frmClientConfig reset(f.client);
        reset.logic().FontChosen(u"Serif"_s, 16, false, true);
        QCOMPARE(reset.logic().FontSummary(), u"Serif 16, Italic"_s);
        // A font given in pixels keeps the row's size, one without a name the row's name.
        reset.logic().FontChosen(QString(), -1, true, false);
        QCOMPARE(reset.logic().FontSummary(), u"Serif 16, Bold"_s);
        QTest::mouseClick(reset.ui.DefaultButton, Qt::LeftButton);
        QCOMPARE(std::tuple(reset.result(), f.told, f.saved()),
                 std::tuple(int(QDialog::Accepted), 3, u"Arial 12 0 0 2 0 100 1 0 0"_s));
    }

    // Escape or no change sends nothing; a new client port is asked about first; a pasted separator never
    // reaches the wire; a configuration that does not leave, or is beyond a frame, keeps the form open.
    void serverConfiguration()
    {
        Fixture f;
        QPointer<frmConfigServer> form = f.server(u"PORT=5000;UDPP=5001;"_s);
        showActive(form);
        // The console stays in reach while the configuration is open.
        QVERIFY(!QApplication::activeModalWidget());
        form->ui.propConfig->editor(u"UDPPort"_s)->setFocus();
        QVERIFY(form->ui.lblHint->toPlainText().startsWith(u"Client UDP port number\n"_s));
        QTest::keyClick(form->ui.propConfig->editor(u"UDPPort"_s), Qt::Key_Escape);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(form.isNull() && f.frontend.questions.isEmpty());
        // Ports beyond their spins that nobody touched go back as they came, without a port question.
        form = f.server(u"PORT=70000;UDPP=0;GENE;GENP=99999;"_s);
        QCOMPARE(form->ui.propConfig->value(u"ClientPort"_s), QVariant(65535));
        QTest::keyClick(form->ui.propConfig->editor(u"DebugTrace"_s), Qt::Key_Space);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QVERIFY(f.frontend.questions.isEmpty());
        form = f.server(u"garbage;;==;zz\x02"_s);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(f.frontend.questions[0].text, u"No change of the server's configuration"_s);
        QVERIFY(!form->isVisible());

        form = f.server(u"PORT=5000;UDPP=5001;GENE;"_s);
        form->ui.propConfig->setValue(u"ClientPort"_s, 6000);
        f.frontend.answerBox(ResultNo);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(std::tuple(f.frontend.questions.last().text, f.frontend.questions.last().buttons,
                            form->ui.propConfig->value(u"ClientPort"_s)),
                 std::tuple(u"You change the client TCP port number.  This will reset all clients.\n"
                            "Do you wish to proceed anyway?"_s,
                            int(ButtonsYesNo), QVariant(5000)));
        auto *path = qobject_cast<QLineEdit *>(form->ui.propConfig->editor(u"ClientUpdPath"_s));
        path->setFocus();
        path->insert(u"//srv/upd\u0002ates"_s);
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(path->text(), u"//srv/updates"_s);
        f.linkUp = false;
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        gOptions().Language = 1;
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        gOptions().Language = 0;
        f.linkUp = true;
        path->setText(u"//srv/"_s + QString(40000, u'x'));
        QTest::mouseClick(form->ui.OKButton, Qt::LeftButton);
        QCOMPARE(std::tuple(f.sent.size(), form->isVisible(), f.frontend.captions()),
                 std::tuple(qsizetype(1), true,
                            QStringList{u"Server configuration changed"_s, u"Server configuration changed"_s,
                                        u"Invalid characters"_s, u"Not sent"_s, u"Non envoyé"_s,
                                        u"Too long to send"_s}));

        path->setText(u"//srv/updates"_s);
        form->ui.propConfig->setValue(u"ClientPort"_s, 6000);
        f.frontend.answerBox(ResultYes);
        typeThenAltO(form.data(), u"UDPPort"_s, u"5002"_s);
        QCOMPARE(f.sent, (QStringList{u"SCU\u0001PORT=70000;UDPP=0;TRCE;GENE;GENP=99999;"_s,
                                      u"SCU\u0001PORT=6000;UDPP=5002;CLOC=//srv/updates;GENE;"_s}));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(form.isNull());
    }
};

QTEST_MAIN(TestOptionForms)
#include "tst_optionforms.moc"

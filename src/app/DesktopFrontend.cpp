#include "app/DesktopFrontend.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/MessageForm.h"
#include "authoring/frmAdminsEdit.h"
#include "authoring/frmGroupEdit.h"
#include "authoring/frmMessage.h"
#include "authoring/frmReply.h"
#include "banner/frmBanner.h"
#include "console/frmAdmin.h"
#include "console/frmList.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "editors/frmClientConfig.h"
#include "editors/frmConfigServer.h"
#include "editors/frmLevelEdit.h"
#include "editors/frmPolicies.h"
#include "store/DBFunctions.h"
#include "store/DVMessage.h"
#include "store/Database.h"
#include "ui/DesktopNotifier.h"
#include "ui/InputBox.h"
#include "ui/MessageBox.h"
#include "ui/TrayIcon.h"
#include "ui/frmAbout.h"
#include "ui/frmLog.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

DesktopFrontend::DesktopFrontend(QObject *parent)
    : QObject(parent), m_tray(new TrayIcon(this)), m_notifier(new DesktopNotifier(this))
{
}

DesktopFrontend::~DesktopFrontend()
{
    delete m_log;
    delete m_message;
    delete m_reply;
    delete m_console;
    delete m_levelEdit;
    delete m_banner;
}

void DesktopFrontend::setConsole(std::optional<ConsoleContext> context)
{
    if (!context)
        delete m_console;
    m_consoleContext.reset();
    if (context)
        m_consoleContext.emplace(*context);
}

frmAdmin *DesktopFrontend::console() const
{
    return m_console;
}

void DesktopFrontend::ShowConsole()
{
    if (!m_consoleContext)
        return;
    // One console at most.
    if (!m_console)
        m_console = new frmAdmin(*m_consoleContext);
    m_console->show();
    m_console->raise();
    m_console->activateWindow();
}

bool DesktopFrontend::EditGroupForm(int action, const QString &name, const QString &description,
                                    const QString &members)
{
    if (!m_consoleContext)
        return false;
    const ConsoleContext &c = *m_consoleContext;
    frmGroupEdit editor(
        {c.clientDB, c.tempDB, c.clock, c.user, c.policies, c.session, c.process, c.frontend, c.sendData},
        GroupEditForm::Action(action), m_console);
    editor.logic().OpenOn(name, description, members);
    editor.showFields();
    return editor.exec() == QDialog::Accepted;
}

bool DesktopFrontend::EditRoleForm(const QString &userID, int authority)
{
    if (!m_consoleContext)
        return false;
    const ConsoleContext &c = *m_consoleContext;
    frmAdminsEdit editor({c.tempDB, c.session, c.process, c.sendData}, m_console);
    if (!userID.isEmpty())
        editor.logic().EditAdmin(userID, authority);
    editor.showFields();
    return editor.exec() == QDialog::Accepted && editor.logic().RefreshList();
}

void DesktopFrontend::setAuthoring(std::optional<AuthoringContext> context)
{
    // The forms hold the engine's parts; they go before the engine does.
    if (!context) {
        delete m_message;
        delete m_package;
        delete m_reply;
    }
    m_authoring.reset();
    if (context)
        m_authoring.emplace(*context);
}

frmMessage *DesktopFrontend::messageForm() const
{
    return m_message;
}

frmReply *DesktopFrontend::replyForm() const
{
    return m_reply;
}

frmMessage *DesktopFrontend::composer()
{
    if (!m_authoring)
        return nullptr;
    // One composer: a second answer reuses it, once the person lets go of what is being written.
    if (!m_message)
        m_message = new frmMessage(*m_authoring);
    return m_message;
}

frmMessage *DesktopFrontend::packageComposer()
{
    if (!m_authoring)
        return nullptr;
    if (!m_package)
        m_package = new frmMessage(*m_authoring, true);
    return m_package;
}

frmMessage *DesktopFrontend::composerFor(const DVMessage &msg)
{
    return msg.MsgLevel == QLatin1String("sysKVPackage") ? packageComposer() : composer();
}

bool DesktopFrontend::mayReplace(frmMessage *form)
{
    return form && (!form->BeingWritten() || askReplace(form));
}

bool DesktopFrontend::askReplace(QWidget *form)
{
    form->raise();
    return MessageBox::Show(ResString(AuthoringTexts::ReplaceText), ResString(AuthoringTexts::ReplaceTitle),
                            IconQuestion, ButtonsYesNo, form) == ResultYes;
}

void DesktopFrontend::OpenPackageForm(const QString &msgID, const QString &target)
{
    if (frmMessage *form = packageComposer(); mayReplace(form)) {
        form->OpenNew(0, msgID, target);
        form->show();
        form->raise();
        form->activateWindow();
    }
}

void DesktopFrontend::DuplicatePackageForm(const QString &oldID, const QString &newID, bool copy)
{
    frmMessage *form = packageComposer();
    if (!mayReplace(form))
        return;
    form->OpenNew(0, newID, QString());
    if (copy && !form->DuplicateMessage(ClientDB(), QStringLiteral("InPkg"), oldID, newID)) {
        form->close();
        return;
    }
    form->show();
    form->raise();
    form->activateWindow();
}

void DesktopFrontend::OpenMessageForm(int action, const QString &msgID, const QString &target)
{
    if (frmMessage *form = composer(); mayReplace(form)) {
        form->OpenNew(action, msgID, target);
        form->show();
        form->raise();
        form->activateWindow();
    }
}

void DesktopFrontend::DuplicateMessageForm(int action, bool temporaryStore, const QString &table,
                                           const QString &oldID, const QString &newID)
{
    if (frmMessage *form = composer(); mayReplace(form)) {
        form->logic().setAction(action);
        if (!form->DuplicateMessage(temporaryStore ? TempDB() : ClientDB(), table, oldID, newID)) {
            form->close();
            return;
        }
        form->show();
        form->raise();
        form->activateWindow();
    }
}

void DesktopFrontend::EditMessageForm(const DVMessage &msg, int action)
{
    if (msg.MsgID.isEmpty())
        return;
    if (frmMessage *form = composerFor(msg); mayReplace(form)) {
        form->EditMessage(msg, action);
        form->show();
        form->raise();
        form->activateWindow();
    }
}

void DesktopFrontend::ViewMessage(const DVMessage &msg)
{
    if (frmMessage *form = composerFor(msg); mayReplace(form)) {
        form->ViewMessage(msg);
        form->show();
        form->raise();
    }
}

void DesktopFrontend::OpenReplyForm(const QString &newID, bool toAll)
{
    // The reply answers the message the banner last acted on.
    if (!m_authoring || !m_banner || !m_banner->queue().DisplayedMsg())
        return;
    if (!m_reply)
        m_reply = new frmReply(*m_authoring);
    else if (m_reply->BeingWritten() && !askReplace(m_reply))
        return;
    m_reply->Open(m_banner->queue().DisplayedMsg()->ActualMessage, newID, toAll);
    m_reply->show();
    m_reply->raise();
    m_reply->activateWindow();
}

int DesktopFrontend::MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons)
{
    return MessageBox::Show(text, caption, icon, buttons);
}

QString DesktopFrontend::InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                                   const QString &defaultText)
{
    return InputBox::InputText(prompt, caption, icon, buttons, defaultText);
}

QString DesktopFrontend::InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                                   const QString &defaultText)
{
    return InputBox::InputPath(prompt, caption, icon, buttons, defaultText);
}

QString DesktopFrontend::InputPassword(const QString &prompt, const QString &caption, int icon, int buttons)
{
    return InputBox::InputPassword(prompt, caption, icon, buttons);
}

QString DesktopFrontend::InputChoice(const QString &prompt, const QString &caption, int icon,
                                     const QString &list, const QString &defaultText)
{
    return InputBox::InputChoice(prompt, caption, icon, list, defaultText);
}

void DesktopFrontend::SetTrayIcon(int image, const QString &tip)
{
    m_tray->show(image, tip);
}

void DesktopFrontend::RemoveTrayIcon()
{
    m_tray->remove();
}

void DesktopFrontend::MenuChanged(const ClientMenu &menu)
{
    m_tray->rebuildMenu(menu);
}

void DesktopFrontend::ShowAbout(const AboutFacts &facts)
{
    // One box: a second click brings the open one forward with the facts of now.
    delete m_about;
    m_about = new frmAbout(facts);
    m_about->show();
    m_about->raise();
    m_about->activateWindow();
}

void DesktopFrontend::ShowLog(const QString &logFileName)
{
    if (m_log) {
        m_log->raise();
        m_log->activateWindow();
        return;
    }
    m_log = new frmLog(logFileName);
    m_log->show();
}

bool DesktopFrontend::OpenDocument(const QString &path)
{
    if (!QFileInfo::exists(path)) {
        WriteLog(QStringLiteral("frmKorvanClient:OpenDocument - ") + path + QStringLiteral(" not found"));
        return false;
    }
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void DesktopFrontend::ShowClientConfig()
{
    // The language switch inside the dialog reads the settings in force, so it edits them.
    const qint16 language = gOptions().Language;
    frmClientConfig dialog({gOptions(), gUserInfos(), m_engineCalls.optionsChanged});
    dialog.exec();
    // Every window still open speaks the language now in force; each passes the word to its parts.
    if (gOptions().Language != language)
        for (QWidget *window : QApplication::topLevelWidgets()) {
            QEvent change(QEvent::LanguageChange);
            QCoreApplication::sendEvent(window, &change);
        }
}

void DesktopFrontend::ShowLevelEditor()
{
    if (!m_authoring)
        return;
    // One editor: its buffer is the one table of the temporary store.
    if (!m_levelEdit)
        m_levelEdit = new frmLevelEdit({m_authoring->clientDB, m_authoring->tempDB, m_authoring->sendData,
                                        frmLevelEdit::defaultSharedPathRule()});
    m_levelEdit->show();
    m_levelEdit->raise();
    m_levelEdit->activateWindow();
}

frmLevelEdit *DesktopFrontend::levelEditor() const
{
    return m_levelEdit;
}

void DesktopFrontend::ShowPolicies(const QString &reference, const Policies &policies)
{
    // One window per answer: the universal policies and a user's may stand side by side.
    auto *form = new frmPolicies({m_engineCalls.newPoliciesToSend});
    form->Initialise(reference, policies);
    form->show();
    form->raise();
    form->activateWindow();
}

void DesktopFrontend::ShowServerConfig(const ServerConfig &config)
{
    auto *form = new frmConfigServer({*this, m_engineCalls.updateServerConfiguration});
    form->SetConfig(config);
    form->show();
    form->raise();
    form->activateWindow();
}

void DesktopFrontend::DisplayList(ListKind list, const QString &letter)
{
    TraceLog(QStringLiteral("frmKorvanClient:DisplayList %1 %2").arg(int(list)).arg(letter));
    // "A": the console asked, and shows the list if the person still waits for it.
    if (letter == QLatin1String("A") && m_console) {
        const int shown = list == AllMessagesList       ? 4
                          : list == SharedTemplatesList ? 5
                          : list == KorvanGroupsList    ? 11
                          : list == UsersList           ? 13
                          : list == MachinesList        ? 14
                                                        : 15;
        m_console->Display(shown);
    }
    // The other letters name the form that asked for the directory; its selection shows now.
    const int kind = list == UsersList          ? SelectUsers
                     : list == MachinesList     ? SelectMachines
                     : list == KorvanGroupsList ? SelectKorvanGroups
                                                : -1;
    if (kind < 0)
        return;
    if (letter == QLatin1String("L") && kind == SelectUsers)
        if (frmAdminsEdit *editor = frmAdminsEdit::current())
            editor->DisplayUsers();
    if (letter == QLatin1String("G"))
        if (frmGroupEdit *editor = frmGroupEdit::current())
            editor->DisplayList(kind);
    if (letter == QLatin1String("P") && m_package)
        m_package->DisplayList(kind);
    if (letter == QLatin1String("M") && m_message)
        m_message->DisplayList(kind);
}

frmBanner *DesktopFrontend::banner()
{
    if (!m_banner) {
        m_banner = new frmBanner(m_bannerHooks);
        connect(m_banner, &frmBanner::viewMessageRequested, this, &DesktopFrontend::ViewMessage);
    }
    return m_banner;
}

void DesktopFrontend::destroyBanner()
{
    delete m_banner;
    m_banner = nullptr;
}

void DesktopFrontend::AddMessageToDisplay(const DVMessage &msg)
{
    banner()->queue().AddMessageToDisplay(msg);
}

void DesktopFrontend::DeleteMessageFromDisplay(const QString &msgID)
{
    if (m_banner)
        m_banner->queue().DeleteMessageFromDisplay(msgID);
}

bool DesktopFrontend::IsOnDisplay(const QString &msgID) const
{
    return m_banner && m_banner->queue().IsOnDisplay(msgID);
}

// The writer of a row tells the list that is shown, and only that one.
void DesktopFrontend::AddRecord(int list, const DVMessage &msg)
{
    if (m_console && m_console->currentList() && m_console->currentList()->list() == list)
        m_console->currentList()->AddRecord(msg);
}

void DesktopFrontend::DelRecord(int list, const QString &msgID)
{
    if (m_console && m_console->currentList() && m_console->currentList()->list() == list)
        m_console->currentList()->DelRecord(msgID);
}

void DesktopFrontend::RecordChanged(const QString &msgID)
{
    if (m_console && m_console->currentList())
        m_console->currentList()->RecordChanged(msgID);
}

void DesktopFrontend::ShowReceiptPopup(const QString &text)
{
    m_notifier->show(text);
}

bool DesktopFrontend::ReceiptPopupShown() const
{
    return m_notifier->isShown();
}

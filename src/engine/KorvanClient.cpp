#include "engine/KorvanClient.h"

#include "core/AppPaths.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "delivery/MessageIntake.h"
#include "delivery/Receipts.h"
#include "delivery/Replication.h"
#include "delivery/Scheduler.h"
#include "link/CommandDispatcher.h"
#include "link/Commands.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "link/LinkCommands.h"
#include "link/LinkWakeups.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"

#include <QDir>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

int closeReasonResource(int closeMode)
{
    switch (closeMode) {
    case KorvanClient::vbFormControlMenu:
        return 424;
    case KorvanClient::vbFormCode:
        return 423;
    case KorvanClient::vbAppWindows:
        return 425;
    case KorvanClient::vbAppTaskManager:
        return 401;
    case KorvanClient::vbFormMDIForm:
        return 416;
    default:
        return 422;
    }
}

QString stateName(int state)
{
    static const char16_t *const names[] = {u"Closed",
                                            u"Open",
                                            u"Listening",
                                            u"Connection pending",
                                            u"Resolving host",
                                            u"Host resolved",
                                            u"Connecting",
                                            u"Connected",
                                            u"Peer is closing the connection",
                                            u"Error"};
    if (state < 0 || state > 9)
        return QStringLiteral("Undefined");
    return QString::fromUtf16(names[state]);
}

} // namespace

KorvanClient::KorvanClient(QObject *parent) : QObject(parent) {}

KorvanClient::~KorvanClient()
{
    Unload();
}

bool KorvanClient::Load(QString *error)
{
    WriteLog(QStringLiteral("Creating encryptor..."));
    m_encryptor = std::make_unique<Encryption>();
    m_connection = std::make_unique<ConnectionManager>(*m_encryptor);
    // Owned by the link it wakes, and gone with it.
    new LinkWakeups(*m_connection, m_connection.get());
    m_dispatcher = std::make_unique<CommandDispatcher>(*m_encryptor);
    m_linkCommands = std::make_unique<LinkCommands>(*m_connection, [this] { SetMenu(); });
    const auto send = [this](const QString &payload) { return SendData(payload); };
    m_replication = std::make_unique<Replication>(send);
    m_intake = std::make_unique<MessageIntake>(
        send, [this] { return LocalIP(); }, *m_replication);
    m_scheduler = std::make_unique<Scheduler>();
    m_receipts = std::make_unique<Receipts>(send);
    connect(m_connection.get(), &ConnectionManager::notifyIcon, this, &KorvanClient::NotifyIcon);
    connect(m_connection.get(), &ConnectionManager::bytesArrived, this,
            [this](const QByteArray &bytes) { m_dispatcher->DataArrival(bytes); });
    routeCommands();

    WriteLog(QStringLiteral("Creating policies..."));
    gPolicies() = Policies();
    WriteLog(QStringLiteral("Getting MachineID..."));

    WriteLog(QStringLiteral("Localization..."));
    AssignMainLabels();

    WriteLog(QStringLiteral("creating task icon..."));
    if (Frontend *frontend = Frontend::current())
        frontend->SetTrayIcon(0, ResString(421));

    const Options &options = gOptions();
    WriteLog(QStringLiteral("Connecting to server ") + options.Server + QStringLiteral(" on port ") +
             QString::number(options.ClientPort) + QStringLiteral("..."));
    m_connection->ConnectToServer();

    WriteLog(QStringLiteral("Setting the menu..."));
    SetMenu();
    WriteLog(QStringLiteral("Ready!"));

    // What passed while the client was off is put right before the first scan.
    m_scheduler->ComputePassedExactTime();
    m_scheduler->LastScanMinute = -1;
    m_scheduler->tmrCedule.setEnabled(true);
    if (error)
        error->clear();
    return true;
}

void KorvanClient::QueryUnload(int closeMode)
{
    WriteLog(ResString(411) + ResString(closeReasonResource(closeMode)));
    if (m_connection)
        m_connection->Close();
    if (Frontend *frontend = Frontend::current())
        frontend->RemoveTrayIcon();
}

void KorvanClient::Unload()
{
    m_receipts.reset();
    m_scheduler.reset();
    m_intake.reset();
    m_replication.reset();
    m_linkCommands.reset();
    m_dispatcher.reset();
    m_connection.reset();
    m_encryptor.reset();
}

void KorvanClient::AssignMainLabels()
{
    m_menu.AssignMainLabels();
    publishMenu();
}

void KorvanClient::OptionsChanged()
{
    AssignMainLabels();
}

void KorvanClient::SetMenu()
{
    TraceLog(Form + QStringLiteral("SetMenu"));
    ClientMenu::Rights rights;
    const Policies &policies = gPolicies();
    rights.ConnectedToServer = ConnectedToServer();
    rights.CanExitClient = policies.CanExitClient;
    rights.CanSendMessages = policies.CanSendMessages;
    rights.CanAdminister = policies.CanAdminister;
    rights.CanModifyDisplayOptions = policies.CanModifyDisplayOptions;
    rights.IsAdministrator = gUserInfos().IsAdministrator();
    rights.IsPostmaster = gUserInfos().IsPostmaster();
    m_menu.SetMenu(rights);
    publishMenu();
}

void KorvanClient::publishMenu()
{
    if (Frontend *frontend = Frontend::current())
        frontend->MenuChanged(m_menu);
    Q_EMIT menuChanged();
}

bool KorvanClient::SendData(const QString &data, bool monitor)
{
    return m_connection && m_connection->SendData(data, monitor);
}

bool KorvanClient::NewPoliciesToSend(const QString &reference, const QString &codes)
{
    TraceLog(Form + QStringLiteral("NewPoliciesToSend - RefID: ") + reference + QStringLiteral(", Codes: ") +
             codes);
    return SendData(reference.isEmpty() ? Commands::GPU(codes) : Commands::UPU(reference, codes));
}

bool KorvanClient::UpdateServerConfiguration(const ServerConfig &config)
{
    TraceLog(Form + QStringLiteral("UpdateServerConfiguration"));
    return SendData(Commands::SCU(config));
}

void KorvanClient::ComputeNextRunDate(DVMessage &msg)
{
    if (m_scheduler)
        m_scheduler->ComputeNextRunDate(msg);
}

QString KorvanClient::LocalIP() const
{
    return m_connection ? m_connection->LocalIP() : QString();
}

bool KorvanClient::ConnectedToServer() const
{
    return m_connection && m_connection->ConnectedToServer;
}

void KorvanClient::NotifyIcon(bool show, const QString &tooltip)
{
    TraceLog(Form + QStringLiteral("NotifyIcon"));
    // The icon record holds 64 characters with its terminator.
    if (Frontend *frontend = Frontend::current())
        frontend->SetTrayIcon(show ? 1 : 0, tooltip.left(63));
    SetMenu();
}

void KorvanClient::MenuItemClicked(ClientMenu::Item item)
{
    if (!m_menu.entry(item).enabled)
        return;
    switch (item) {
    case ClientMenu::mnuSend:
        TraceLog(Form + QStringLiteral("mnuSend_Click"));
        gProcess().SavedSelection.clear();
        SendData(Commands::MID());
        break;
    case ClientMenu::mnuAdministration:
        TraceLog(Form + QStringLiteral("mnuAdministration_Click"));
        if (Frontend *frontend = Frontend::current())
            frontend->ShowConsole();
        break;
    case ClientMenu::mnuDisplayReplies:
        TraceLog(Form + QStringLiteral("mnuDisplayReplies_Click"));
        m_menu.entry(item).checked = !m_menu.entry(item).checked;
        publishMenu();
        break;
    case ClientMenu::mnuOptions:
        TraceLog(Form + QStringLiteral("mnuOptions_Click"));
        if (Frontend *frontend = Frontend::current())
            frontend->ShowClientConfig();
        break;
    case ClientMenu::mnuLevel:
        TraceLog(Form + QStringLiteral("mnuLevel_Click"));
        if (Frontend *frontend = Frontend::current())
            frontend->ShowLevelEditor();
        break;
    case ClientMenu::mnuGlobalPolicies:
        TraceLog(Form + QStringLiteral("mnuGlobalPolicies_Click"));
        SendData(Commands::GPR());
        break;
    case ClientMenu::mnuUserPolicies:
        mnuUserPolicies_Click();
        break;
    case ClientMenu::mnuServerConfiguration:
        mnuServerConfiguration_Click();
        break;
    case ClientMenu::mnuLog:
        TraceLog(Form + QStringLiteral("mnuLog_Click"));
        if (Frontend *frontend = Frontend::current())
            frontend->ShowLog(LogFile::path());
        break;
    case ClientMenu::mnuConnect:
        m_connection->mnuConnect_Click();
        break;
    case ClientMenu::mnuStatus:
        mnuStatus_Click();
        break;
    case ClientMenu::mnuHelp:
        mnuHelp_Click();
        break;
    case ClientMenu::mnuAbout:
        TraceLog(Form + QStringLiteral("mnuAbout_Click"));
        if (Frontend *frontend = Frontend::current())
            frontend->ShowAbout({LinkCommands::Version(), QStringLiteral(KORVANE_BUILD_DATE),
                                 QString::fromLatin1(qVersion()), AppPaths::dataFolder(),
                                 AppPaths::configFolder(), ConnectionStatusText()});
        break;
    case ClientMenu::mnuExit:
        mnuExit_Click();
        break;
    default:
        break;
    }
}

void KorvanClient::mnuExit_Click()
{
    TraceLog(Form + QStringLiteral("mnuExit_Click"));
    Frontend *frontend = Frontend::current();
    if (!frontend)
        return;
    const int answer = frontend->MessageBoxShow(ResString(403) + QStringLiteral("\n\n") + ResString(433),
                                                ResString(402), IconQuestion, ButtonsYesNo);
    if (answer != ResultYes)
        return;
    QueryUnload(vbFormCode);
    Unload();
    Q_EMIT quitRequested();
}

QString KorvanClient::ConnectionStatusText() const
{
    const int state = m_connection ? m_connection->SocketState() : ConnectionManager::sckClosed;
    return QStringLiteral("Connection status: ") + stateName(state);
}

void KorvanClient::mnuStatus_Click()
{
    TraceLog(Form + QStringLiteral("mnuStatus_Click"));
    SendData(Commands::WDG(), true);
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(ConnectionStatusText(), QStringLiteral("System status"), IconInformation,
                                 ButtonsOk);
}

void KorvanClient::mnuUserPolicies_Click()
{
    TraceLog(Form + QStringLiteral("mnuUserPolicies_Click"));
    Frontend *frontend = Frontend::current();
    if (!frontend)
        return;
    const QString userID =
        frontend->InputText(ResString(150), ResString(151), IconQuestion, ButtonsOkCancel, QString());
    if (!userID.isEmpty())
        SendData(Commands::UPR(userID));
}

void KorvanClient::mnuServerConfiguration_Click()
{
    TraceLog(Form + QStringLiteral("mnuServerConfiguration_Click"));
    if (SendData(Commands::SCR()))
        return;
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(ResString(142), ResString(118), IconCritical, ButtonsOk);
}

void KorvanClient::mnuHelp_Click()
{
    TraceLog(Form + QStringLiteral("mnuHelp_Click"));
    const QString name = QStringLiteral("KorvaneClient%1.html").arg(gOptions().Language);
    const QString file = QDir(AppPaths::resourceFolder()).filePath(QStringLiteral("help/") + name);
    if (Frontend *frontend = Frontend::current())
        frontend->OpenDocument(file);
}

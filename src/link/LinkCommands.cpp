#include "link/LinkCommands.h"

#include "core/Failure.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/CommandDispatcher.h"
#include "link/Commands.h"
#include "link/ConnectionManager.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

// Reads a number as the system's numeric conversion does: blanks around it are
// fine, anything else is a type mismatch.
bool toNumber(const QString &text, qint64 &value)
{
    bool ok = false;
    value = text.trimmed().toLongLong(&ok);
    return ok;
}

} // namespace

LinkCommands::LinkCommands(ConnectionManager &link, std::function<void()> setMenu)
    : m_link(link), m_setMenu(std::move(setMenu))
{
}

QString LinkCommands::Version()
{
    const QStringList parts = QStringLiteral(KORVANE_VERSION).split(QLatin1Char('.'));
    return parts.value(0, QStringLiteral("0")) + QLatin1Char('.') + parts.value(1, QStringLiteral("0")) +
           QLatin1Char('.') + parts.value(2, QStringLiteral("0"));
}

void LinkCommands::registerOn(CommandDispatcher &dispatcher)
{
    auto simple = [](auto method) { return [method](const QString &data, Failure &) { method(data); }; };
    dispatcher.route(QStringLiteral("CON"), true, simple([this](const QString &d) { CON(d); }));
    dispatcher.route(QStringLiteral("DEC"), false, simple([this](const QString &) { DEC(); }));
    dispatcher.route(QStringLiteral("AUT"), true, [this](const QString &d, Failure &failure) {
        qint64 value = 0;
        if (!toNumber(d, value))
            failure = Failure::typeMismatch();
        else if (value < -32768 || value > 32767)
            failure = Failure::overflow();
        else
            AUT(d);
    });
    dispatcher.route(QStringLiteral("CUL"), true, simple([this](const QString &d) { CUL(d); }));
    dispatcher.route(QStringLiteral("POL"), true, simple([this](const QString &d) { POL(d); }));
    dispatcher.route(QStringLiteral("GPL"), true, simple([this](const QString &d) { GPL(d); }));
    dispatcher.route(QStringLiteral("UPR"), true,
                     [this](const QString &d, Failure &failure) { UPR(d, failure); });
    dispatcher.route(QStringLiteral("SCR"), true, simple([this](const QString &d) { SCR(d); }));
    dispatcher.route(QStringLiteral("SCP"), false, simple([this](const QString &) { SCP(); }));
    dispatcher.route(QStringLiteral("PCL"), true, [this](const QString &d, Failure &failure) {
        qint64 value = 0;
        if (!toNumber(d, value))
            failure = Failure::typeMismatch();
        else
            PCL(d);
    });
    dispatcher.route(QStringLiteral("IAD"), true, simple([this](const QString &d) {
                         Information(QStringLiteral("Information to Administrators"),
                                     gUserInfos().IsAdministrator(), d);
                     }));
    dispatcher.route(QStringLiteral("IPA"), true, simple([this](const QString &d) {
                         Information(QStringLiteral("Information to Packagers"), gUserInfos().IsPackager(),
                                     d);
                     }));
    // Logged as the packagers' notice too: the log has always said so.
    dispatcher.route(QStringLiteral("IPO"), true, simple([this](const QString &d) {
                         Information(QStringLiteral("Information to Packagers"), gUserInfos().IsPostmaster(),
                                     d);
                     }));
    dispatcher.route(QStringLiteral("IUS"), true, simple([this](const QString &d) {
                         Information(QStringLiteral("Information to users"), true, d);
                     }));
    for (const char16_t *code : {u"AL_", u"TM_", u"RU_", u"RM_", u"RP_", u"RA_", u"RR_"}) {
        const QString marker = QString::fromUtf16(code);
        dispatcher.route(marker, false,
                         [this, marker](const QString &d, Failure &) { EndOfList(marker, d); });
    }
}

void LinkCommands::CON(const QString &agent)
{
    m_link.ConnectedToServer = true;
    UserInfos &user = gUserInfos();
    user.Agent = agent;
    user.setMachineID(m_link.LocalHostName());
    user.MachineIP = m_link.LocalIP();
    Q_EMIT m_link.notifyIcon(true, ResString(116) + m_link.RemoteHost());

    const QString identity = user.ToString();
    WriteLog(QStringLiteral("Sending informations: ") + identity + QStringLiteral("  Version=") + Version());
    m_link.SendData(Commands::USR(identity, Version()));
    // What ALL brings stays in the local store, so once a run is enough.
    if (!AllRequested) {
        m_link.SendData(Commands::ALL());
        AllRequested = true;
    }
}

void LinkCommands::DEC()
{
    Q_EMIT m_link.notifyIcon(false, ResString(117));
    m_link.ConnectedToServer = false;
}

void LinkCommands::AUT(const QString &authority)
{
    UserInfos &user = gUserInfos();
    user.setMyAuthority(static_cast<qint16>(authority.trimmed().toInt()));
    WriteLog(QStringLiteral("User has the following authority: \t") + QString::number(user.MyAuthority()));
    if (user.IsPostmaster()) {
        gPolicies().SetFullRights();
        gPolicies().UseDomainGroups = gProcess().DomainAvailable;
    }
    m_setMenu();
    m_link.tmrAdminWatchdog.setEnabled(user.IsAdministrator());
}

void LinkCommands::CUL(const QString &path)
{
    TraceLog(QStringLiteral("Client Update Location: ") + path);
    gOptions().SaveUpdLocation(path);
}

void LinkCommands::POL(const QString &text)
{
    // Postmasters and above have full rights and ignore the policies.
    if (!gUserInfos().IsUser())
        return;
    WriteLog(QStringLiteral("New global policies\t"));
    Policies &policies = gPolicies();
    if (!policies.PersonalPolicies) {
        policies.ToObject(text);
    } else {
        Policies received;
        received.ToObject(text);
        policies.Lifetime = received.Lifetime;
        policies.Reconnect = received.Reconnect;
    }
    policies.UseDomainGroups = policies.UseDomainGroups && gProcess().DomainAvailable;
    Options &options = gOptions();
    if (policies.Reconnect != options.ReconnectDelay) {
        options.ReconnectDelay = policies.Reconnect;
        options.SaveOptions();
    }
    m_setMenu();
}

void LinkCommands::GPL(const QString &text)
{
    WriteLog(QStringLiteral("Requested Global Polcies\t"));
    Policies policies;
    policies.ToObject(text);
    if (Frontend *frontend = Frontend::current())
        frontend->ShowPolicies(QString(), policies);
}

void LinkCommands::UPR(const QString &data, Failure &failure)
{
    WriteLog(QStringLiteral("Requested Policies for \t") + data);
    const QStringList parts = CommandDispatcher::Parts(data, 2, failure);
    if (failure.isSet())
        return;
    Policies policies;
    policies.ToObject(parts[1]);
    if (Frontend *frontend = Frontend::current())
        frontend->ShowPolicies(parts[0], policies);
}

void LinkCommands::SCR(const QString &text)
{
    WriteLog(QStringLiteral("Requested Server Config infos\t"));
    ServerConfig config;
    config.ToObject(text);
    if (Frontend *frontend = Frontend::current())
        frontend->ShowServerConfig(config);
}

void LinkCommands::SCP()
{
    // The change itself comes with PCL.
    WriteLog(QStringLiteral("New client TCP port number\t"));
}

void LinkCommands::PCL(const QString &text)
{
    const int port = text.trimmed().toInt();
    Options &options = gOptions();
    if (port == options.ClientPort)
        return;
    WriteLog(QStringLiteral("Client port changed to \t") + QString::number(port));
    options.ClientPort = port;
    options.SaveOptions();
    // Local closes: no close event follows, and nothing reconnects by itself.
    m_link.Close();
    m_link.wsUDP.close();
}

void LinkCommands::Information(const QString &logText, bool forThisUser, const QString &text)
{
    WriteLog(logText + QLatin1Char('\t'));
    if (!forThisUser)
        return;
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(text, ResString(141), IconInformation, ButtonsOk);
}

void LinkCommands::EndOfList(const QString &code, const QString &letter)
{
    Session &session = gSession();
    Frontend *frontend = Frontend::current();
    auto display = [&](Frontend::ListKind list) {
        static const QStringList letters = {QStringLiteral("A"), QStringLiteral("G"), QStringLiteral("M"),
                                            QStringLiteral("P")};
        const bool routed =
            letters.contains(letter) || (list == Frontend::UsersList && letter == QLatin1String("L"));
        if (routed && frontend)
            frontend->DisplayList(list, letter);
    };
    // The console asked for these three itself, so they go to it whatever the letter.
    auto toConsole = [&](Frontend::ListKind list) {
        if (frontend)
            frontend->DisplayList(list, QStringLiteral("A"));
    };
    if (code == QLatin1String("AL_")) {
        session.AllMessagesLoaded = true;
        toConsole(Frontend::AllMessagesList);
    } else if (code == QLatin1String("TM_")) {
        session.SharedTemplatesLoaded = true;
        toConsole(Frontend::SharedTemplatesList);
    } else if (code == QLatin1String("RU_")) {
        session.UsersLoaded = true;
        display(Frontend::UsersList);
    } else if (code == QLatin1String("RM_")) {
        session.MachinesLoaded = true;
        display(Frontend::MachinesList);
    } else if (code == QLatin1String("RP_")) {
        session.GroupsKorvanLoaded = true;
        display(Frontend::KorvanGroupsList);
    } else if (code == QLatin1String("RA_")) {
        session.AdminsLoaded = true;
        toConsole(Frontend::AdministratorsList);
    } else if (code == QLatin1String("RR_")) {
        session.ReceiptsLoaded = true;
    }
}

#include "console/ConsoleFrame.h"

#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "link/Commands.h"
#include "link/Policies.h"

namespace {

const QString Form = QStringLiteral("frmAdmin:");
constexpr int TwipsPerPixel = 15;
constexpr int OutboxList = 2;

} // namespace

const QList<ConsoleFrame::Item> &ConsoleFrame::Items()
{
    static const QList<Item> items = {
        {1, QStringLiteral("btnInbox"), QStringLiteral("grMessages"), 1200, QStringLiteral("Inbox")},
        {2, QStringLiteral("btnOutbox"), QStringLiteral("grMessages"), 1201, QStringLiteral("Outbox")},
        {3, QStringLiteral("btnDeleted"), QStringLiteral("grMessages"), 1202, QStringLiteral("Deleted")},
        {4, QStringLiteral("btnAllMessages"), QStringLiteral("grMessages"), 1203, QStringLiteral("AllMsgs")},
        {5, QStringLiteral("btnSharedTemplates"), QStringLiteral("grTemplates"), 1204,
         QStringLiteral("SharedTemplates")},
        {6, QStringLiteral("btnMyTemplates"), QStringLiteral("grTemplates"), 1205,
         QStringLiteral("PersonalTemplates")},
        {7, QStringLiteral("btnReceived"), QStringLiteral("grPackages"), 1206, QStringLiteral("Received")},
        {9, QStringLiteral("btnAllPackages"), QStringLiteral("grPackages"), 1207, QStringLiteral("AllPkgs")},
        {10, QStringLiteral("btnDomainGroups"), QStringLiteral("grMiscellaneous"), 1208,
         QStringLiteral("DomainGroups")},
        {11, QStringLiteral("btnKorvanGroups"), QStringLiteral("grMiscellaneous"), 1209,
         QStringLiteral("KorvaneGroups")},
        {12, QStringLiteral("btnMyGroups"), QStringLiteral("grMiscellaneous"), 1210,
         QStringLiteral("PersonalGroups")},
        {13, QStringLiteral("btnUsers"), QStringLiteral("grMiscellaneous"), 1211, QStringLiteral("Users")},
        {14, QStringLiteral("btnMachines"), QStringLiteral("grMiscellaneous"), 1212,
         QStringLiteral("Machines")},
        {15, QStringLiteral("btnAdministrators"), QStringLiteral("grMiscellaneous"), 1213,
         QStringLiteral("Administrators")},
    };
    return items;
}

const QList<std::pair<QString, int>> &ConsoleFrame::Groups()
{
    static const QList<std::pair<QString, int>> groups = {{QStringLiteral("grMessages"), 1214},
                                                          {QStringLiteral("grTemplates"), 1215},
                                                          {QStringLiteral("grPackages"), 1216},
                                                          {QStringLiteral("grMiscellaneous"), 1217}};
    return groups;
}

int ConsoleFrame::CaptionOf(int list)
{
    for (const Item &item : Items()) {
        if (item.list == list)
            return item.text;
    }
    return 0;
}

ConsoleFrame::ConsoleFrame(ProcessState &process, Session &session, const UserInfos &user,
                           const Policies &policies, std::function<bool(const QString &)> sendData)
    : m_process(process), m_session(session), m_user(user), m_policies(policies),
      m_sendData(std::move(sendData))
{
}

QList<ConsoleFrame::Item> ConsoleFrame::Load()
{
    // The console always opens on the Outbox, with its receipts asked for once.
    m_process.CurrentList = OutboxList;
    if (!m_session.ReceiptsLoaded)
        m_sendData(Commands::RRC());
    QList<int> removed;
    switch (m_user.MyAuthority()) {
    case UserInfos::RoleUser:
        removed = {4, 9, 15};
        TraceLog(Form + QStringLiteral("Load - User authority - No administration group"));
        break;
    case UserInfos::RolePostmaster:
        removed = {9, 15};
        TraceLog(Form +
                 QStringLiteral("Load - Postmaster authority - No Administrators item nor Packages item"));
        break;
    case UserInfos::RolePackager:
        removed = {15};
        // The role's word has always read so here.
        TraceLog(Form + QStringLiteral("Load - Postmaster authority - No Administrators item"));
        break;
    default:
        break;
    }
    if (!m_policies.UseDomainGroups) {
        removed << 10;
        TraceLog(Form + QStringLiteral("RemoveNoDomainItems"));
    }
    if (!m_policies.UseKorvanGroups) {
        removed << 11;
        TraceLog(Form + QStringLiteral("RemoveNoKorvanItems"));
    }
    QList<Item> shown;
    for (const Item &item : Items())
        if (!removed.contains(item.list))
            shown << item;
    return shown;
}

ConsoleFrame::Step ConsoleFrame::OnClickItemLink(const QString &key)
{
    Step step;
    const Item *item = nullptr;
    for (const Item &candidate : Items())
        if (candidate.key == key)
            item = &candidate;
    // btnInstalled, and any other key, does nothing at all.
    if (!item)
        return step;
    TraceLog(Form + QStringLiteral("OnClickItemLink - ") + item->trace);
    const int list = item->list;
    // My groups and the domain groups leave the choice as it was; their display shows them.
    if (list != 10 && list != 12)
        m_process.CurrentList = list;
    const auto fromServer = [&](bool loaded, const QString &request) {
        if (loaded) {
            step.show = list;
        } else {
            step.progress = true;
            step.request = request;
            m_sendData(request);
        }
    };
    switch (list) {
    case 4:
        fromServer(m_session.AllMessagesLoaded, Commands::ALM());
        break;
    case 5:
        fromServer(m_session.SharedTemplatesLoaded, Commands::TMP());
        break;
    case 11:
        fromServer(m_session.GroupsKorvanLoaded, Commands::RPI(QLatin1Char('A')));
        break;
    case 13:
        fromServer(m_session.UsersLoaded, Commands::RUS(QLatin1Char('A')));
        break;
    case 14:
        fromServer(m_session.MachinesLoaded, Commands::RMA(QLatin1Char('A')));
        break;
    case 15:
        fromServer(m_session.AdminsLoaded, Commands::RAD());
        break;
    default:
        step.show = list;
        if (list == OutboxList && !m_session.ReceiptsLoaded)
            m_sendData(Commands::RRC());
        break;
    }
    return step;
}

bool ConsoleFrame::MayDisplay(int list) const
{
    // These wait for the person's latest choice; the group lists and the
    // administrators show whenever their answer comes.
    static const QList<int> waiting = {2, 4, 5, 13, 14};
    return !waiting.contains(list) || m_process.CurrentList == list;
}

void ConsoleFrame::QueryUnload()
{
    m_process.CurrentList = 0;
}

QRect ConsoleFrame::ReadGeometry(const UserStore &store)
{
    // Twips, applied as they stand, however large the screen that saved them; read whole, since a
    // width of 2300 pixels is already past 16 bits of twips. A value that is no number counts as missing.
    const auto twips = [&store](const char *name, int fallback) {
        bool ok = false;
        const int value =
            store.read(QStringLiteral("Setup"), QLatin1String(name), QString()).trimmed().toInt(&ok);
        return (ok ? value : fallback) / TwipsPerPixel;
    };
    const int height = twips("AdminHeight", 9000);
    const int width = twips("AdminWidth", 12000);
    const int top = twips("AdminTop", 0);
    const int left = twips("AdminLeft", 0);
    return QRect(left, top, width, height);
}

void ConsoleFrame::WriteGeometry(const UserStore &store, const QRect &pixels)
{
    const auto write = [&store](const char *name, int value) {
        store.write(QStringLiteral("Setup"), QLatin1String(name), QString::number(value * TwipsPerPixel));
    };
    write("AdminHeight", pixels.height());
    write("AdminWidth", pixels.width());
    write("AdminTop", pixels.top());
    write("AdminLeft", pixels.left());
}

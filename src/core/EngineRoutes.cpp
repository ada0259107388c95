// Where each command of the server reaches the engine. The link's own commands
// are handled by LinkCommands; the others go to one engine method each, whose
// work the delivery, authoring and console parts of the client carry.
#include "core/Failure.h"
#include "core/KorvanClient.h"
#include "core/Log.h"
#include "link/CommandDispatcher.h"
#include "link/LinkCommands.h"
#include "store/DBFunctions.h"

namespace {
const QString Form = QStringLiteral("frmKorvanClient:");
}

void KorvanClient::routeCommands()
{
    m_linkCommands->registerOn(*m_dispatcher);
    CommandDispatcher &d = *m_dispatcher;
    auto data = [](auto method) { return [method](const QString &text, Failure &) { method(text); }; };

    d.route(QStringLiteral("MSG"), true, data([this](const QString &t) { MessageReceived(t, false); }));
    d.route(QStringLiteral("MSL"), true, data([this](const QString &t) { MessageReceived(t, true); }));
    d.route(QStringLiteral("PKG"), true, data([this](const QString &t) { PackageReceived(t, false); }));
    d.route(QStringLiteral("PKL"), true, data([this](const QString &t) { PackageReceived(t, true); }));
    d.route(QStringLiteral("ALM"), true, data([this](const QString &t) { AllMessageReceived(t); }));
    d.route(QStringLiteral("MSC"), true,
            [this](const QString &t, Failure &f) { MessageStatusChanged(t, f); });
    d.route(QStringLiteral("PSC"), true,
            [this](const QString &t, Failure &f) { PackageStatusChanged(t, f); });
    d.route(QStringLiteral("MDE"), true, data([this](const QString &t) { MessagesDeleted(t); }));
    d.route(QStringLiteral("PDE"), true, data([this](const QString &t) { PackagesDeleted(t); }));
    d.route(QStringLiteral("RCP"), true, data([this](const QString &t) { GetReceipt(t); }));
    d.route(QStringLiteral("ARC"), true, data([this](const QString &t) { GetAdminReceipt(t); }));
    for (const char16_t *code : {u"MID", u"PID", u"PTI", u"STI", u"MDU", u"PDU", u"MTP", u"PTP", u"STP"}) {
        const QString name = QString::fromUtf16(code);
        d.route(name, true, [this, name](const QString &t, Failure &f) { OpenComposer(name, t, f); });
    }
    d.route(QStringLiteral("RID"), true, data([this](const QString &t) { OpenReply(t, false); }));
    d.route(QStringLiteral("RAL"), true, data([this](const QString &t) { OpenReply(t, true); }));
    d.route(QStringLiteral("TMP"), true, data([this](const QString &t) { TemplateReceived(t); }));
    d.route(QStringLiteral("RUS"), true, data([this](const QString &t) { UsersReceived(t); }));
    d.route(QStringLiteral("RMA"), true, data([this](const QString &t) { MachinesReceived(t); }));
    d.route(QStringLiteral("RPI"), true, data([this](const QString &t) { GroupsReceived(t); }));
    d.route(QStringLiteral("RPU"), true, data([this](const QString &t) { UsersGroupReceived(t); }));
    d.route(QStringLiteral("UGR"), true, data([this](const QString &t) { UserGroupsReceived(t); }));
    d.route(QStringLiteral("PGD"), true, data([this](const QString &t) { GroupDeleted(t); }));
    d.route(QStringLiteral("RAD"), true, [this](const QString &t, Failure &f) { StoreAdministrator(t, f); });
    d.route(QStringLiteral("LVL"), true, data([this](const QString &t) { LevelsReceived(t); }));
}

// Until the store and the forms stand, each of these records that it was
// reached; the parts that own the work replace the bodies.
void KorvanClient::MessageReceived(const QString &, bool isLogon)
{
    TraceLog(Form + QStringLiteral("MessageReceived - IsLogon: ") +
             (isLogon ? QStringLiteral("True") : QStringLiteral("False")));
}

void KorvanClient::PackageReceived(const QString &, bool isLogon)
{
    TraceLog(Form + QStringLiteral("PackageReceived - IsLogon: ") +
             (isLogon ? QStringLiteral("True") : QStringLiteral("False")));
}

void KorvanClient::AllMessageReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("AllMessageReceived"));
}

void KorvanClient::MessageStatusChanged(const QString &data, Failure &failure)
{
    CommandDispatcher::Parts(data, 2, failure);
    TraceLog(Form + QStringLiteral("MSC"));
}

void KorvanClient::PackageStatusChanged(const QString &data, Failure &failure)
{
    CommandDispatcher::Parts(data, 2, failure);
    TraceLog(Form + QStringLiteral("PSC"));
}

void KorvanClient::MessagesDeleted(const QString &)
{
    TraceLog(Form + QStringLiteral("MessagesDeleted"));
}

void KorvanClient::PackagesDeleted(const QString &)
{
    TraceLog(Form + QStringLiteral("PackagesDeleted"));
}

void KorvanClient::GetReceipt(const QString &)
{
    TraceLog(Form + QStringLiteral("GetReceipt"));
}

void KorvanClient::GetAdminReceipt(const QString &)
{
    TraceLog(Form + QStringLiteral("GetAdminReceipt"));
}

void KorvanClient::OpenComposer(const QString &code, const QString &data, Failure &failure)
{
    // The duplicating answers carry the old and the new ID.
    static const QStringList pairs = {QStringLiteral("MDU"), QStringLiteral("PDU"), QStringLiteral("MTP"),
                                      QStringLiteral("PTP"), QStringLiteral("STP")};
    if (pairs.contains(code))
        CommandDispatcher::Parts(data, 2, failure);
    TraceLog(Form + QStringLiteral("OpenComposer - ") + code);
}

void KorvanClient::OpenReply(const QString &, bool toAll)
{
    TraceLog(Form + QStringLiteral("OpenReply - ToAll: ") +
             (toAll ? QStringLiteral("True") : QStringLiteral("False")));
}

void KorvanClient::TemplateReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("TemplateReceived"));
}

void KorvanClient::UsersReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("UsersReceived"));
}

void KorvanClient::MachinesReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("MachinesReceived"));
}

void KorvanClient::GroupsReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("GroupsReceived"));
}

void KorvanClient::UsersGroupReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("UsersGroupReceived"));
}

void KorvanClient::UserGroupsReceived(const QString &)
{
    TraceLog(Form + QStringLiteral("UserGroupsReceived"));
}

void KorvanClient::GroupDeleted(const QString &groupName)
{
    DeleteRows(TempDB(), QStringLiteral("GroupsIBelongTo"),
               Filter::equals(QStringLiteral("GroupName"), groupName));
}

void KorvanClient::StoreAdministrator(const QString &data, Failure &failure)
{
    CommandDispatcher::Parts(data, 2, failure);
    TraceLog(Form + QStringLiteral("StoreAdministrator"));
}

void KorvanClient::LevelsReceived(const QString &)
{
    TraceLog(QStringLiteral("Deleting existing levels\t"));
}

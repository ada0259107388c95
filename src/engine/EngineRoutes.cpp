// Where each command of the server reaches the engine. The link's own commands
// are handled by LinkCommands; the others go to one engine method each, whose
// work the delivery, authoring and console parts of the client carry.
#include "core/Failure.h"
#include "core/Log.h"
#include "delivery/MessageIntake.h"
#include "delivery/Receipts.h"
#include "delivery/Replication.h"
#include "engine/KorvanClient.h"
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

    MessageIntake &intake = *m_intake;
    Replication &replication = *m_replication;
    d.route(QStringLiteral("MSG"), true,
            data([&intake](const QString &t) { intake.MessageReceived(t, false); }));
    d.route(QStringLiteral("MSL"), true,
            data([&intake](const QString &t) { intake.MessageReceived(t, true); }));
    d.route(QStringLiteral("PKG"), true,
            data([&intake](const QString &t) { intake.PackageReceived(t, false); }));
    d.route(QStringLiteral("PKL"), true,
            data([&intake](const QString &t) { intake.PackageReceived(t, true); }));
    d.route(QStringLiteral("ALM"), true, data([&intake](const QString &t) { intake.AllMessageReceived(t); }));
    d.route(QStringLiteral("MSC"), true,
            [&replication](const QString &t, Failure &f) { replication.MessageStatusChanged(t, f); });
    d.route(QStringLiteral("PSC"), true,
            [&replication](const QString &t, Failure &f) { replication.PackageStatusChanged(t, f); });
    d.route(QStringLiteral("MDE"), true,
            data([&replication](const QString &t) { replication.MessagesDeleted(t); }));
    d.route(QStringLiteral("PDE"), true,
            data([&replication](const QString &t) { replication.PackagesDeleted(t); }));
    Receipts &receipts = *m_receipts;
    d.route(QStringLiteral("RCP"), true, data([&receipts](const QString &t) { receipts.GetReceipt(t); }));
    d.route(QStringLiteral("ARC"), true,
            data([&receipts](const QString &t) { receipts.GetAdminReceipt(t); }));
    for (const char16_t *code : {u"MID", u"PID", u"PTI", u"STI", u"MDU", u"PDU", u"MTP", u"PTP", u"STP"}) {
        const QString name = QString::fromUtf16(code);
        d.route(name, true, [this, name](const QString &t, Failure &f) { OpenComposer(name, t, f); });
    }
    d.route(QStringLiteral("RID"), true, data([this](const QString &t) { OpenReply(t, false); }));
    d.route(QStringLiteral("RAL"), true, data([this](const QString &t) { OpenReply(t, true); }));
    d.route(QStringLiteral("TMP"), true,
            data([&replication](const QString &t) { replication.TemplateReceived(t); }));
    d.route(QStringLiteral("RUS"), true,
            data([&replication](const QString &t) { replication.UsersReceived(t); }));
    d.route(QStringLiteral("RMA"), true,
            data([&replication](const QString &t) { replication.MachinesReceived(t); }));
    d.route(QStringLiteral("RPI"), true,
            data([&replication](const QString &t) { replication.GroupsReceived(t); }));
    d.route(QStringLiteral("RPU"), true,
            data([&replication](const QString &t) { replication.UsersGroupReceived(t); }));
    d.route(QStringLiteral("UGR"), true,
            data([&replication](const QString &t) { replication.UserGroupsReceived(t); }));
    d.route(QStringLiteral("PGD"), true, data([this](const QString &t) { GroupDeleted(t); }));
    d.route(QStringLiteral("RAD"), true,
            [&replication](const QString &t, Failure &f) { replication.StoreAdministrator(t, f); });
    d.route(QStringLiteral("LVL"), true,
            data([&replication](const QString &t) { replication.LevelsReceived(t); }));
}

void KorvanClient::GroupDeleted(const QString &groupName)
{
    DeleteRows(TempDB(), QStringLiteral("GroupsIBelongTo"),
               Filter::equals(QStringLiteral("GroupName"), groupName));
}

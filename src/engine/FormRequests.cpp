// The server's answers that open a form: a new ID for a new record or a reply,
// or an old and a new ID for a copy.
#include "core/Failure.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "engine/KorvanClient.h"
#include "link/CommandDispatcher.h"

#include <optional>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

// The modes of the composer that the answers open.
constexpr int NewMessageMode = 0;
constexpr int NewSharedTemplateMode = 3;
constexpr int NewPersonalTemplateMode = 6;

struct Source
{
    bool temporaryStore = false;
    QString table;
    int action = NewMessageMode;
};

// Where a copy comes from, by the console's open list; nothing outside them.
std::optional<Source> sourceOf(int currentList)
{
    switch (currentList) {
    case 1:
        return Source{false, QStringLiteral("Inbox"), NewMessageMode};
    case 2:
    case 3:
        return Source{false, QStringLiteral("Outbox"), NewMessageMode};
    case 4:
        return Source{true, QStringLiteral("Outbox"), NewMessageMode};
    case 5:
        return Source{true, QStringLiteral("SharedTemplates"), NewSharedTemplateMode};
    case 6:
        return Source{false, QStringLiteral("MyTemplates"), NewPersonalTemplateMode};
    default:
        return std::nullopt;
    }
}

} // namespace

void KorvanClient::OpenComposer(const QString &code, const QString &data, Failure &failure)
{
    Frontend *frontend = Frontend::current();
    const QString target = gProcess().SavedSelection;
    if (code == QLatin1String("MID") || code == QLatin1String("PTI") || code == QLatin1String("STI")) {
        const int action = code == QLatin1String("MID")   ? NewMessageMode
                           : code == QLatin1String("PTI") ? NewPersonalTemplateMode
                                                          : NewSharedTemplateMode;
        if (frontend)
            frontend->OpenMessageForm(action, data, target);
        return;
    }
    if (code == QLatin1String("PID")) {
        if (frontend)
            frontend->OpenPackageForm(data, target);
        return;
    }
    if (code == QLatin1String("PDU")) {
        const QStringList ids = CommandDispatcher::Parts(data, 2, failure);
        if (failure.isSet())
            return;
        // Copied only from the packages' list, and from the received ones: kept as it always was.
        if (frontend)
            frontend->DuplicatePackageForm(ids.value(0), ids.value(1), gProcess().CurrentList == 9);
        return;
    }
    const bool progress = code == QLatin1String("PTP");
    if (progress)
        TraceLog(QStringLiteral("Splitting PTP"));
    const QStringList ids = CommandDispatcher::Parts(data, 2, failure);
    if (failure.isSet())
        return;
    std::optional<Source> source = sourceOf(gProcess().CurrentList);
    if (code == QLatin1String("MTP")) {
        // A message from a template: only the template lists are a source.
        if (source && source->action == NewMessageMode)
            source.reset();
        if (source)
            source->action = NewMessageMode;
    } else if (code == QLatin1String("PTP")) {
        if (source)
            source->action = NewPersonalTemplateMode;
    } else if (code == QLatin1String("STP")) {
        if (source)
            source->action = NewSharedTemplateMode;
    }
    if (progress)
        TraceLog(QStringLiteral("Loading frmMessage"));
    if (!source) {
        TraceLog(Form + QStringLiteral("OpenComposer - ") + code +
                 QStringLiteral(" without a list to copy from"));
        return;
    }
    if (progress) {
        TraceLog(QStringLiteral("ActionType"));
        TraceLog(QStringLiteral("Duplicating"));
    }
    if (frontend)
        frontend->DuplicateMessageForm(source->action, source->temporaryStore, source->table, ids.value(0),
                                       ids.value(1));
    if (progress)
        TraceLog(QStringLiteral("Showing"));
}

void KorvanClient::OpenReply(const QString &msgID, bool toAll)
{
    if (Frontend *frontend = Frontend::current())
        frontend->OpenReplyForm(msgID, toAll);
}

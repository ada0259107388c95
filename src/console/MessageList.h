#pragma once

#include "console/ListRecord.h"
#include "store/DVMessage.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Clock;
class Database;
class Frontend;
struct ProcessState;
struct Session;

// The logic of the six message and package lists of the console: which rows
// a list holds, which items of its popup menu a selection enables, and what
// each command stores and sends. The grid only shows the rows and passes the
// focused and selected IDs in.
class MessageList
{
public:
    // The lists by the number CurrentList gives them.
    enum Kind { Inbox = 1, Outbox = 2, DeletedMsg = 3, AllMsgs = 4, Received = 7, AllPkgs = 9 };
    enum Item {
        mnuNew,
        mnuEdit,
        mnuCancel,
        mnuResubmit,
        mnuDelete,
        mnuDuplicate,
        mnuPersonalTemplate,
        mnuSharedTemplate,
        mnuViewMyReplies,
        mnuRepost,
        mnuUndelete,
        mnuRefresh,
    };

    struct Context
    {
        Database &clientDB;
        Database &tempDB;
        const Clock &clock;
        Frontend &frontend;
        ProcessState &process;
        Session &session;
        std::function<bool(const QString &payload)> sendData;
    };

    MessageList(Kind kind, Context context);

    Kind kind() const { return m_kind; }
    Database &store() const;
    QString table() const;
    // Which rows the list shows; the Outbox hides replies until asked to show them.
    QString RowFilter() const;
    bool ViewMyReplies = true;

    // Every row that passes the filter, in table order, or the one row of an ID.
    QList<ListRecord> LoadData(const QString &msgID = QString()) const;

    // The detail grids of the focused row: its receipts (ReceiptID, UserID,
    // ReceiptDate) and the history of its exchange (MsgID, UserID, UserName,
    // Message, CreationDate, Mailbox), or the one text "No history".
    bool HasReceipts() const { return m_kind == Outbox || m_kind == AllMsgs || m_kind == AllPkgs; }
    bool HasHistory() const { return m_kind == Inbox || m_kind == Outbox; }
    QList<QStringList> Receipts(const QString &msgID) const;
    QList<QStringList> History(const QString &initID) const;

    // The items of this list's row menu, and whether a selection enables one.
    QList<Item> Items() const;
    bool Enabled(Item item, int selectedRows) const;

    // The commands, on the focused row and the selected ones (in grid order).
    void New();
    void Duplicate(const QString &focused);
    void PersonalTemplate(const QString &focused);
    void SharedTemplate(const QString &focused);
    // The new value of the row's status cell when the store changed.
    std::optional<qint32> Cancel(const QString &focused);
    std::optional<qint32> Resubmit(const QString &focused);
    // The IDs of the rows that leave the grid.
    QStringList Delete(const QString &focused, const QStringList &selected);
    bool Undelete(const QString &focused);
    void Repost(const QString &focused);
    void Refresh();

private:
    bool packages() const { return m_kind == AllPkgs; }

    Kind m_kind;
    Context m_ctx;
};

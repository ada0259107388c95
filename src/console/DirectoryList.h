#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class Database;
class Frontend;
class UserInfos;
struct ProcessState;
struct Session;

// The logic of the console's six directory lists: who and what can be
// addressed. Their rows, the members of a group, which popup items a
// selection enables, and what the send, delete and refresh commands store and
// send. The group commands open the group editor, whose mode GroupAction gives.
class DirectoryList
{
public:
    // The lists by the number CurrentList gives them.
    enum Kind {
        DomainGroups = 10,
        KorvaneGroups = 11,
        MyGroups = 12,
        Users = 13,
        Machines = 14,
        Administrators = 15
    };
    enum Item {
        mnuSend,
        mnuDelete,
        mnuChangeName,
        mnuChangeLanguage,
        mnuChangeAgent,
        mnuRefresh,
        // The group editor's modes, on the personal and the shared groups.
        mnuNew,
        mnuEdit,
        mnuDuplicate,
    };

    struct Context
    {
        Database &clientDB;
        Database &tempDB;
        Frontend &frontend;
        ProcessState &process;
        Session &session;
        const UserInfos &user;
        std::function<bool(const QString &payload)> sendData;
    };

    DirectoryList(Kind kind, Context context);

    Kind kind() const { return m_kind; }
    // The rows, and the grid's columns to columns when given; the first is the key.
    QList<QStringList> LoadData(QStringList *columns = nullptr) const;
    bool HasMembers() const
    {
        return m_kind == DomainGroups || m_kind == KorvaneGroups || m_kind == MyGroups;
    }
    // The member grid of a group's row: its user IDs.
    QStringList Members(const QString &groupName) const;

    QList<Item> Items() const;
    bool Enabled(Item item, int selected) const;

    // The selected keys, in the grid's order, become the target of a new message.
    void Send(const QStringList &selected);
    // True when the focused row is gone and the grid drops it.
    bool Delete(const QString &focused);
    void ChangeName();
    // The group editor's mode for New (duplicate: false) or Edit/Duplicate, -1 on a list without one.
    int GroupAction(Item item) const;
    // True when the rows are at hand again (the domain groups); otherwise the answer re-creates the list.
    bool Refresh();

private:
    Kind m_kind;
    Context m_ctx;
};

#pragma once

#include "console/ListRecord.h"
#include "store/DVMessage.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class Database;
class UserInfos;
struct ProcessState;
struct Session;

// The logic of the two template lists: personal templates kept here, shared
// ones kept by the server and mirrored in the temporary store, which everyone
// may use and only a Postmaster or above may change.
class TemplateList
{
public:
    enum Kind { Shared = 5, Personal = 6 };
    enum Item {
        mnuNew,
        mnuCreateFromTemplate,
        mnuEdit,
        mnuDuplicate,
        mnuPersonalTemplate,
        mnuSharedTemplate,
        mnuDelete,
        mnuRefresh,
    };

    struct Context
    {
        Database &clientDB;
        Database &tempDB;
        const UserInfos &user;
        ProcessState &process;
        Session &session;
        std::function<bool(const QString &payload)> sendData;
    };

    TemplateList(Kind kind, Context context);

    Database &store() const;
    QString table() const;
    QList<ListRecord> LoadData(const QString &msgID = QString()) const;

    QList<Item> Items() const;
    bool Enabled(Item item, int selectedRows) const;
    // The composer's mode for editing a template of this list.
    int EditAction() const { return m_kind == Shared ? 4 : 7; }

    void New();
    void CreateFromTemplate(const QString &focused);
    void Duplicate(const QString &focused);
    void PersonalTemplate(const QString &focused);
    void SharedTemplate(const QString &focused);
    // The IDs of the rows that leave the grid.
    QStringList Delete(const QString &focused, const QStringList &selected);
    void Refresh();

private:
    Kind m_kind;
    Context m_ctx;
};

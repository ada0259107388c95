#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class Clock;
class Database;
class Frontend;
class Policies;
class UserInfos;
struct ProcessState;
struct Session;

// The logic of the group editor: a personal group kept in the local store, or
// a shared one kept by the server and mirrored in the temporary store. Its
// members are the items of a target text; saving replaces them all.
class GroupEditForm
{
public:
    enum Action { NewPersonal = 0, EditPersonal = 1, NewShared = 2, EditShared = 3 };
    enum Outcome { StayOpen, Close };

    struct Context
    {
        Database &clientDB;
        Database &tempDB;
        const Clock &clock;
        const UserInfos &user;
        const Policies &policies;
        const Session &session;
        const ProcessState &process;
        Frontend &frontend;
        std::function<bool(const QString &payload)> sendData;
    };

    struct Fields
    {
        QString txtGroupName;
        QString txtDescription;
        QString txtTarget;
        bool nameEnabled = true;
    };

    // Which group buttons show: all three for a personal group, none for a shared one.
    struct Buttons
    {
        bool domain = false;
        bool korvan = false;
        bool myGroups = true;
    };

    explicit GroupEditForm(Context context);

    void setAction(Action action);
    Action action() const { return m_action; }
    QString Tag;
    QString Caption() const;
    const Buttons &buttons() const { return m_buttons; }

    void EditGroup(const QString &name, const QString &description, const QString &members);
    void DuplicateGroup(const QString &description, const QString &members);
    // As a directory opens the editor on a group: an edit on that group, a new one on its copy.
    void OpenOn(const QString &name, const QString &description, const QString &members);
    bool OKEnabled() const;

    // A members button: the selection at once when its directory is here, else
    // a request with "G" whose answer calls Display*.
    void RecipientsButton(int kind);
    // The directory asked for has come: its selection shows.
    void DisplayList(int kind) { select(kind); }

    Outcome OKButton();
    // The console list that a save asks to show anew (12 or 11), 0 for none.
    int RefreshList() const { return m_refresh; }

    Fields fields;
    // Shows the selection dialog of a kind over a target and gives the new target.
    std::function<QString(int kind, const QString &target)> getSelection;

private:
    void select(int kind);
    bool exists(Database &store, const QString &table) const;
    // SaveMyGroup or SaveKorvaneGroup, by the store and tables of the mode.
    bool saveGroup(Database &store, const QString &groups, const QString &members,
                   const QStringList &memberIDs, const QString &now);

    Context m_ctx;
    Action m_action = NewPersonal;
    Buttons m_buttons;
    int m_refresh = 0;
};

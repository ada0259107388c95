#pragma once

#include <QString>

#include <functional>

class Database;
struct Session;
struct ProcessState;

// The logic of the role editor: one role given to one or more users, told to
// the server with ADM and kept in the role holders' table.
class AdminsEditForm
{
public:
    enum Outcome { StayOpen, Close };

    struct Context
    {
        Database &tempDB;
        const Session &session;
        const ProcessState &process;
        std::function<bool(const QString &payload)> sendData;
    };

    explicit AdminsEditForm(Context context) : m_ctx(std::move(context)) {}

    // An existing holder: the ID and the role's index.
    void EditAdmin(const QString &userID, int authority);
    // The users button: the selection at once when the users are here, else a request with "L".
    void UsersButton();
    void DisplayUsers();

    Outcome OKButton();
    // Whether the role holders' list, shown in the console, is to be made anew.
    bool RefreshList() const { return m_refresh; }

    QString txtUserID;
    int cboRole = 0;
    // Shows the users' selection over a target and gives the new target.
    std::function<QString(const QString &target)> getSelection;

private:
    // SaveUserRole: each ID's row added or updated with the role.
    void SaveUserRole();

    Context m_ctx;
    bool m_refresh = false;
};

#include "authoring/AdminsEditForm.h"

#include "core/Globals.h"
#include "core/Log.h"
#include "core/Session.h"
#include "link/Commands.h"
#include "store/Database.h"

void AdminsEditForm::EditAdmin(const QString &userID, int authority)
{
    txtUserID = userID;
    cboRole = authority;
}

void AdminsEditForm::UsersButton()
{
    if (m_ctx.session.UsersLoaded)
        DisplayUsers();
    else
        m_ctx.sendData(Commands::RUS(QLatin1Char('L')));
}

void AdminsEditForm::DisplayUsers()
{
    if (getSelection)
        txtUserID = getSelection(txtUserID);
}

AdminsEditForm::Outcome AdminsEditForm::OKButton()
{
    m_refresh = false;
    if (txtUserID.isEmpty())
        return StayOpen;
    m_ctx.sendData(Commands::ADM(txtUserID, qint16(cboRole)));
    SaveUserRole();
    m_refresh = m_ctx.process.CurrentList == 15;
    return Close;
}

void AdminsEditForm::SaveUserRole()
{
    for (const QString &item : txtUserID.split(QLatin1Char(','))) {
        const QString userID = item.trimmed();
        if (userID.isEmpty())
            continue;
        if (!m_ctx.tempDB.exec(
                QStringLiteral("INSERT INTO Administrators (UserID, Authority) VALUES (?, ?) "
                               "ON CONFLICT (UserID) DO UPDATE SET Authority = excluded.Authority"),
                {userID, cboRole}))
            WriteLog(QStringLiteral("frmAdminsEdit:SaveUserRole - ") + m_ctx.tempDB.lastError());
    }
}

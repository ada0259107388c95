#pragma once

#include "authoring/AuthoringContext.h"
#include "link/OutgoingText.h"
#include "store/DVMessage.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QTime>

#include <functional>
#include <optional>

class Frontend;

// The modes of the composer; each writes its own title before the ID.
enum MessageFormAction : int {
    NewMessage = 0,
    EditMessageAction = 1,
    ViewMessageAction = 2,
    NewSharedTemplate = 3,
    EditSharedTemplate = 4,
    ViewSharedTemplate = 5,
    NewPersonalTemplate = 6,
    EditPersonalTemplate = 7,
    ViewPersonalTemplate = 8,
};

// The selection kinds of the recipients buttons.
enum SelectionKind : int {
    SelectPersonalGroups = 0,
    SelectDomainGroups = 1,
    SelectKorvanGroups = 2,
    SelectUsers = 3,
    SelectMachines = 4,
};

// What the composer's controls hold, control by control.
struct MessageFields
{
    QString txtSubject;
    QString txtText;
    QString txtTarget;
    QString txtLink;
    // The level's name as the combo shows it; it may name a level the list lacks.
    QString cboLevel;
    int cboDelivery = 0;
    int numRepeat = 0;
    // The index of the text that cboRepeat shows.
    int cboRepeat = 2;
    QDate dateNextRun;
    QTime timeNextRun;
    QDate dateExpiration;
    QTime timeExpiration;
    bool chkReply = false;
    bool chkReceipt = false;
    bool chkNotify = false;
    bool chkExactTime = false;
    bool chkBroadcast = false;

    bool operator==(const MessageFields &) const = default;
};

// Which controls the composer shows or lets the person use.
struct MessageEnabling
{
    bool chkBroadcastVisible = true;
    bool numRepeat = true;
    bool cboRepeat = true;
    // dateNextRun, timeNextRun and chkExactTime.
    bool nextRun = true;
    // dateExpiration and timeExpiration.
    bool expiration = true;
    bool txtLinkVisible = true;
    bool cmdDomainVisible = true;
    bool cmdKorvanVisible = true;
    // With domain groups and without shared groups, the domain button takes the
    // shared one's place so that no gap shows.
    bool cmdDomainInKorvanPlace = false;
    bool chkNotify = true;
    bool OKButton = false;
    // The view mode hides OK, cmdVariable and the five recipients buttons.
    bool viewOnly = false;
};

// A row of the level list: what the owner-drawn cell paints.
struct LevelRow
{
    QString Name;
    QString Description;
    quint32 BackColor = 0;
    quint32 ForeColor = 0;
    quint32 ShadowColor = 0;
    bool DrawShadow = false;
};

// The logic of the composer of messages and templates: record to fields and
// back, what is enabled, what is refused, and what OK sends or saves. The
// widget only shows the fields and passes the person's actions in.
class MessageForm
{
public:
    // What a press of OK left behind.
    enum Outcome { StayOpen, Close };

    // A package composer when package is set: no level, no reply, Mandatory in
    // the place of Exact time, and a link always required.
    explicit MessageForm(AuthoringContext context, bool package = false);
    bool isPackage() const { return m_package; }

    // The state after the form is loaded: labels aside, the level list and the dates.
    void Load();

    int Action() const { return m_action; }
    void setAction(int action) { m_action = action; }
    QString Tag;
    // "New message " and the ID, and the like.
    QString Caption() const;

    // The new record of a server's answer to MID, PTI or STI.
    void OpenNew(int action, const QString &msgID, const QString &target);
    void EditMessage(const DVMessage &msg, int action);
    void ViewMessage(const DVMessage &msg);
    // Copies a stored record under a new ID; the caller has set Action. False
    // when the record is not in the table.
    bool DuplicateMessage(Database &store, const QString &table, const QString &oldID, const QString &newID);

    void Msg2Fields(bool full);
    DVMessage Fields2Msg() const;
    void EnableFields();

    // Events of the controls.
    void cboDelivery_Click(int index);
    void chkReceipt_Click(bool checked);
    // txtText or txtTarget changed.
    void TextChanged();
    void cmdVariable_Click();
    // A recipients button. Opens the selection at once when its directory is
    // here, else asks the server for it and returns: the answer calls Display*.
    void RecipientsButton(int kind);
    void DisplayUsers() { select(SelectUsers); }
    void DisplayMachines() { select(SelectMachines); }
    void DisplayKorvanGroups() { select(SelectKorvanGroups); }

    bool VerifyFile(const QString &path);
    Outcome OKButton();

    MessageFields Fields;
    const MessageEnabling &Enabling() const { return m_enabling; }
    const QList<LevelRow> &Levels() const { return m_levels; }
    const std::optional<DVMessage> &BaseRecord() const { return m_base; }

    // Shows the selection dialog of a kind over a target and gives the new target.
    std::function<QString(int kind, const QString &target)> getSelection;

    // Whether the person changed a field since the record was opened.
    bool Changed() const { return !(Fields == m_opened); }
    // The variables that cmdVariable offers, in its order.
    static QString VariableList();
    // Asks for a variable and puts it at the end of a text; false when none was taken.
    static bool AppendVariable(Frontend &frontend, QString &text);

private:
    void select(int kind);
    // Each composer signs its trace lines with its own form's name.
    QString tracePrefix() const;
    // The letter of the directory requests: "P" for a package, "M" for a message.
    QChar requester() const;
    void keepUnshown(DVMessage &msg) const;
    // The fields as opened, for Changed.
    void opened() { m_opened = Fields; }
    // Refuses a Scheduled record that would expire before it starts.
    bool datesAgree(const DVMessage &msg) const;
    // Shows the box of a record that did not leave; Close when it did.
    Outcome sent(const OutgoingText::Sending &sending) const;

    AuthoringContext m_ctx;
    int m_action = NewMessage;
    bool m_package = false;
    MessageEnabling m_enabling;
    QList<LevelRow> m_levels;
    std::optional<DVMessage> m_base;
    MessageFields m_opened;
};

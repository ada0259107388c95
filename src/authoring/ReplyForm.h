#pragma once

#include "authoring/AuthoringContext.h"
#include "store/DVMessage.h"

#include <QDate>
#include <QString>
#include <QTime>

// What the reply form's controls hold.
struct ReplyFields
{
    QString txtOriginal;
    QString txtSubject;
    QString txtText;
    QString txtLink;
    int cboDelivery = 0;
    QDate dateNextRun;
    QTime timeNextRun;
    bool chkReceipt = false;
    bool chkNotify = false;

    bool operator==(const ReplyFields &) const = default;
};

struct ReplyEnabling
{
    // dateNextRun and timeNextRun: only a Scheduled reply has a start to edit.
    bool nextRun = false;
    bool txtLinkVisible = true;
    bool chkNotify = true;
    bool OKButton = false;
};

// The logic of the reply form: the reply's record is built from the message
// answered, and only five of its fields come from the person.
class ReplyForm
{
public:
    explicit ReplyForm(AuthoringContext context);

    void Load();
    void Original(const DVMessage &msg, const QString &newID);
    // Widens the reply's target with the other recipients of the message answered.
    void ReplyToAll(const QString &targets);
    // "Reply to " and the target.
    QString Caption() const;

    void EnableFields();
    void cboDelivery_Click(int index);
    void chkReceipt_Click(bool checked);
    void TextChanged();
    void cmdVariable_Click();
    // Hands the reply to the engine. False when it did not leave: the form
    // stays open over what was written, and the person has been told why.
    bool OKButton();

    ReplyFields Fields;
    // Marks the fields as opened; Changed tells whether the person has written since.
    void Opened() { m_opened = Fields; }
    bool Changed() const { return !(Fields == m_opened); }
    const ReplyEnabling &Enabling() const { return m_enabling; }
    const DVMessage &Reply() const { return m_reply; }
    bool ToAll() const { return m_toAll; }

private:
    AuthoringContext m_ctx;
    ReplyEnabling m_enabling;
    DVMessage m_reply;
    bool m_toAll = false;
    ReplyFields m_opened;
};

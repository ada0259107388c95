#pragma once

#include <QString>
#include <QStringView>

// What a user may do, as the server grants it. The text form holds only what
// differs from the defaults, so an all-default record travels as nothing.
class Policies
{
public:
    bool CanSendMessages = true;
    bool CanCreateRepeating = true;
    bool CanRequestNotification = true;
    bool UseDomainGroups = true;
    bool UseKorvanGroups = true;
    bool CanExitClient = true;
    bool CanModifyDisplayOptions = true;
    bool CanAdminister = true;
    // Default period of a new message, in days.
    qint16 Lifetime = 7;
    QString DeniedExtensions = QStringLiteral("exe,bat,cmd,vbs,reg");
    bool CanLinkDocument = true;
    bool CanSendToAll = false;
    bool CanBroadcast = true;
    // Never on the wire; when set, a POL only touches Lifetime and Reconnect.
    bool PersonalPolicies = false;
    // Seconds between reconnection attempts: 0 at once, -1 never.
    qint16 Reconnect = 60;

    void ResetDefaultValues();
    // Everything allowed, sending to all included; Reconnect and
    // PersonalPolicies are left alone.
    void SetFullRights();
    // Reads the text over the defaults. A text under four characters changes
    // nothing at all, so an all-default POL leaves the earlier rights in place.
    void ToObject(const QString &text);
    QString ToString() const;
};

// The number at the start of a value of the compact records: blanks, a sign,
// then digits up to the first other character. No digits read as 0. Large
// values saturate far beyond 32 bits so that callers can tell them apart.
qint64 ReadLeadingNumber(QStringView text);

// The rights of the user; defaults until the server says otherwise.
Policies &gPolicies();
// Back to the defaults, as in a fresh process (tests and tools).
void ResetPolicies();

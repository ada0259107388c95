#pragma once

#include "link/Policies.h"

#include <QString>
#include <QStringView>

#include <functional>

// The logic of the policies editor: the rights of one user, of a group or of
// everybody, shown as controls and sent back whole to the server.
class PoliciesForm
{
public:
    struct Context
    {
        // The engine's NewPoliciesToSend; false when the command did not leave.
        std::function<bool(const QString &reference, const QString &codes)> newPoliciesToSend;
    };

    // The two icons of the window: the policies of all, or of one name.
    enum class WindowIcon { Universal, Personal };

    // The editors' ranges: up to what the record holds; -1 stays reachable because
    // the reconnection timer gives it a meaning.
    static constexpr int LifetimeMin = 0;
    static constexpr int LifetimeMax = 32767;
    static constexpr int ReconnectMin = -1;
    static constexpr int ReconnectMax = 32767;

    explicit PoliciesForm(Context context) : m_ctx(std::move(context)) {}

    // An empty target means the policies of all. A text too short to hold a key
    // leaves the record at its defaults.
    void Initialise(const QString &target, const QString &text);
    void Initialise(const QString &target, const Policies &policies);

    QString Caption() const;
    WindowIcon Icon() const { return m_target.isEmpty() ? WindowIcon::Universal : WindowIcon::Personal; }
    const QString &Target() const { return m_target; }
    const Policies &Record() const { return m_record; }

    void AssignValues();
    void ActivateOptions();
    // Whether a control of the form, by its name, is enabled; a name the table
    // does not know is always enabled.
    bool IsEnabled(QStringView control) const;

    // The caption of a control, or the empty string for one without.
    static QString Label(QStringView control);
    // The hint of a control as rich text, its caption in bold above the body;
    // empty for a control without one.
    static QString Hint(QStringView control);

    // Any control changed by the person.
    void Changed();
    // A check box changed: the enabling follows it.
    void CheckChanged();
    // True when the policies went to the server and the form may close. A control
    // still showing what it was given sends the value received, even one beyond
    // its editor.
    bool OKButton();
    void DefaultButton();
    void CancelButton();

    // The controls.
    bool chkBroadcast = true;
    bool chkExitClient = true;
    bool chkModify = true;
    bool chkAdminister = true;
    bool chkSendMessages = true;
    int numLifetime = 7;
    bool chkSendToAll = false;
    bool chkRepeating = true;
    bool chkRequestNotification = true;
    bool chkUseKorvan = true;
    bool chkUseDomain = true;
    bool chkLink = true;
    QString txtExtensions;
    int numReconnect = 60;
    bool OKEnabled = false;

private:
    void Controls2Record();

    Context m_ctx;
    QString m_target;
    Policies m_record;
    // The record as received or reset, and what its values showed as in the controls.
    Policies m_received;
    int m_shownLifetime = 7;
    int m_shownReconnect = 60;
    QString m_shownExtensions;
    bool m_authoringEnabled = true;
    bool m_extensionsEnabled = true;
};

#include "editors/PoliciesForm.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/OutgoingText.h"

#include <QLatin1String>

#include <cstddef>

using namespace Qt::StringLiterals;

namespace {

const QString Form = QStringLiteral("frmPolicies:");

// Everything about writing a message follows "May send messages".
const QLatin1String authoringControls[] = {
    "numLifetime"_L1,  "lblLifetime"_L1,  "lblDays"_L1,      "chkAdminister"_L1,
    "chkSendToAll"_L1, "chkBroadcast"_L1, "chkRepeating"_L1, "chkRequestNotification"_L1,
    "chkUseDomain"_L1, "chkUseKorvan"_L1, "chkLink"_L1,
};
// The refused extensions matter only when a document may be attached at all.
const QLatin1String extensionControls[] = {"txtExtensions"_L1, "lblExtensions"_L1};

struct ControlText
{
    QLatin1String control;
    int id;
};

// The hint of each control; a check box takes its caption from the same text.
const ControlText hints[] = {
    {"chkBroadcast"_L1, 920},  {"chkExitClient"_L1, 921},   {"chkModify"_L1, 922},
    {"chkAdminister"_L1, 926}, {"chkSendMessages"_L1, 923}, {"numLifetime"_L1, 925},
    {"chkSendToAll"_L1, 927},  {"chkRepeating"_L1, 928},    {"chkRequestNotification"_L1, 929},
    {"chkUseKorvan"_L1, 930},  {"chkUseDomain"_L1, 931},    {"chkLink"_L1, 932},
    {"txtExtensions"_L1, 933}, {"numReconnect"_L1, 924},    {"OKButton"_L1, 934},
    {"CancelButton"_L1, 935},
};

const ControlText labels[] = {
    {"lblLifetime"_L1, 1480},  {"lblDays"_L1, 1481},      {"lblExtensions"_L1, 1482},
    {"lblReconnect"_L1, 1483}, {"lblSeconds"_L1, 1484},   {"DefaultButton"_L1, 1485},
    {"OKButton"_L1, 9900},     {"CancelButton"_L1, 9901},
};

template <std::size_t N>
int textOf(const ControlText (&table)[N], QStringView control)
{
    for (const ControlText &row : table) {
        if (control == row.control)
            return row.id;
    }
    return 0;
}

// A value that the editor cannot show is brought into its range, and the log says so.
int bounded(const QString &procedure, const QString &what, int value, int low, int high)
{
    const int inRange = qBound(low, value, high);
    if (inRange != value)
        WriteLog(Form + procedure + QStringLiteral(" - ") + what + QStringLiteral(" out of range: ") +
                 QString::number(value));
    return inRange;
}

// The extensions travel inside the record's text: the separators of the
// protocol, the record's own ";" and "=", and double quotes cannot stand in it.
QString cleanExtensions(const QString &text)
{
    QString clean;
    clean.reserve(text.size());
    for (const QChar c : text) {
        if (c == u';')
            clean.append(u',');
        else if (c.unicode() > 4 && c != u'"' && c != u'=')
            clean.append(c);
    }
    return clean;
}

} // namespace

void PoliciesForm::Initialise(const QString &target, const QString &text)
{
    Policies policies;
    if (!text.isEmpty())
        policies.ToObject(text);
    Initialise(target, policies);
}

void PoliciesForm::Initialise(const QString &target, const Policies &policies)
{
    TraceLog(Form + QStringLiteral("Initialize - RefID: ") + target);
    m_target = target;
    m_record = policies;
    m_received = policies;
    AssignValues();
    ActivateOptions();
    OKEnabled = false;
}

QString PoliciesForm::Caption() const
{
    return m_target.isEmpty() ? ResString(900) : ResString(901) + m_target;
}

void PoliciesForm::AssignValues()
{
    chkBroadcast = m_record.CanBroadcast;
    chkExitClient = m_record.CanExitClient;
    chkModify = m_record.CanModifyDisplayOptions;
    chkAdminister = m_record.CanAdminister;
    chkSendMessages = m_record.CanSendMessages;
    numLifetime = bounded(QStringLiteral("AssignValues"), QStringLiteral("Lifetime"), m_record.Lifetime,
                          LifetimeMin, LifetimeMax);
    chkSendToAll = m_record.CanSendToAll;
    chkRepeating = m_record.CanCreateRepeating;
    chkRequestNotification = m_record.CanRequestNotification;
    chkUseKorvan = m_record.UseKorvanGroups;
    chkUseDomain = m_record.UseDomainGroups;
    chkLink = m_record.CanLinkDocument;
    txtExtensions = m_record.DeniedExtensions;
    numReconnect = bounded(QStringLiteral("AssignValues"), QStringLiteral("Reconnect"), m_record.Reconnect,
                           ReconnectMin, ReconnectMax);
    m_shownLifetime = numLifetime;
    m_shownReconnect = numReconnect;
    m_shownExtensions = txtExtensions;
}

void PoliciesForm::ActivateOptions()
{
    m_authoringEnabled = chkSendMessages;
    m_extensionsEnabled = chkSendMessages && chkLink;
}

bool PoliciesForm::IsEnabled(QStringView control) const
{
    if (control == "OKButton"_L1)
        return OKEnabled;
    for (const QLatin1String name : authoringControls) {
        if (control == name)
            return m_authoringEnabled;
    }
    for (const QLatin1String name : extensionControls) {
        if (control == name)
            return m_extensionsEnabled;
    }
    return true;
}

QString PoliciesForm::Label(QStringView control)
{
    if (const int id = textOf(labels, control))
        return ResString(id);
    if (!control.startsWith(u"chk"))
        return {};
    return ResString(textOf(hints, control)).section(u'|', 0, 0);
}

QString PoliciesForm::Hint(QStringView control)
{
    const QString text = ResString(textOf(hints, control));
    const qsizetype bar = text.indexOf(u'|');
    if (bar < 0)
        return text;
    return QStringLiteral("<b>") + text.left(bar).toHtmlEscaped() + QStringLiteral("</b><br>") +
           text.mid(bar + 1);
}

void PoliciesForm::Changed()
{
    OKEnabled = true;
}

void PoliciesForm::CheckChanged()
{
    Changed();
    ActivateOptions();
}

void PoliciesForm::Controls2Record()
{
    m_record.CanBroadcast = chkBroadcast;
    m_record.CanExitClient = chkExitClient;
    m_record.CanModifyDisplayOptions = chkModify;
    m_record.CanAdminister = chkAdminister;
    m_record.CanSendMessages = chkSendMessages;
    m_record.Lifetime = numLifetime == m_shownLifetime
                            ? m_received.Lifetime
                            : qint16(bounded(QStringLiteral("OKButton_Click"), QStringLiteral("Lifetime"),
                                             numLifetime, LifetimeMin, LifetimeMax));
    m_record.CanSendToAll = chkSendToAll;
    m_record.CanCreateRepeating = chkRepeating;
    m_record.CanRequestNotification = chkRequestNotification;
    m_record.UseKorvanGroups = chkUseKorvan;
    m_record.UseDomainGroups = chkUseDomain;
    m_record.CanLinkDocument = chkLink;
    if (txtExtensions == m_shownExtensions) {
        m_record.DeniedExtensions = m_received.DeniedExtensions;
    } else {
        txtExtensions = cleanExtensions(txtExtensions);
        m_record.DeniedExtensions = txtExtensions;
    }
    m_record.Reconnect = numReconnect == m_shownReconnect
                             ? m_received.Reconnect
                             : qint16(bounded(QStringLiteral("OKButton_Click"), QStringLiteral("Reconnect"),
                                              numReconnect, ReconnectMin, ReconnectMax));
}

bool PoliciesForm::OKButton()
{
    TraceLog(Form + QStringLiteral("OKButton_Click"));
    Frontend *frontend = Frontend::current();
    // Pasted separators would cut the record; the person sees what is left first.
    if (frontend && !OutgoingText::Admit(*frontend, {&txtExtensions}))
        return false;
    Controls2Record();
    if (!m_ctx.newPoliciesToSend) {
        WriteLog(Form + QStringLiteral("OKButton_Click - no way to the server"));
        return false;
    }
    const QString codes = m_record.ToString();
    const QString command = m_target.isEmpty() ? Commands::GPU(codes) : Commands::UPU(m_target, codes);
    const auto send = [this, &codes](const QString &) { return m_ctx.newPoliciesToSend(m_target, codes); };
    const OutgoingText::Sending sending = OutgoingText::Send(command, gUserInfos().UserID(), send);
    if (frontend)
        OutgoingText::Told(*frontend, sending);
    if (sending.result != OutgoingText::Sending::Sent) {
        WriteLog(Form + QStringLiteral("OKButton_Click - the policies could not be sent to the server"));
        return false;
    }
    OKEnabled = false;
    return true;
}

void PoliciesForm::DefaultButton()
{
    TraceLog(Form + QStringLiteral("DefaultButton_Click"));
    m_record.ResetDefaultValues();
    m_received = m_record;
    AssignValues();
    ActivateOptions();
    // The defaults are a change of their own, waiting for OK to be sent.
    OKEnabled = true;
}

void PoliciesForm::CancelButton()
{
    TraceLog(Form + QStringLiteral("CancelButton_Click"));
}

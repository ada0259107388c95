#include "editors/ServerConfigForm.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/OutgoingText.h"

using namespace Qt::StringLiterals;

namespace {

const QString Form = u"frmConfigServer:"_s;
constexpr int PortMin = 1, PortMax = 65535;

// A port as its spin can show it.
int shownPort(int port)
{
    return qBound(PortMin, port, PortMax);
}

} // namespace

const QList<PropertyRow> &ServerConfigForm::Rows()
{
    using K = PropertyKind;
    static const QList<PropertyRow> rows = {
        {u"ClientPort"_s, K::Spin, {}, 129, PortMin, PortMax},
        {u"UDPPort"_s, K::Spin, {}, 130, PortMin, PortMax},
        {u"DebugTrace"_s, K::Check, {}, 131},
        {u"ClientUpdPath"_s, K::Text, {}, 132},
        {u"GenEnabled"_s, K::Check, {}, 182},
        {u"GenPort"_s, K::Spin, {}, 183, PortMin, PortMax},
    };
    return rows;
}

QString ServerConfigForm::Title()
{
    return ResString(118);
}

void ServerConfigForm::SetConfig(const ServerConfig &config)
{
    TraceLog(Form + u"SetConfig"_s);
    m_stored = config;
    rows = config;
}

void ServerConfigForm::SetConfig(const QString &text)
{
    ServerConfig config;
    config.ToObject(text);
    SetConfig(config);
}

QVariant ServerConfigForm::value(const QString &key) const
{
    if (key == "ClientPort"_L1)
        return shownPort(rows.ClientPort);
    if (key == "UDPPort"_L1)
        return shownPort(rows.UDPPort);
    if (key == "DebugTrace"_L1)
        return rows.Trace;
    if (key == "ClientUpdPath"_L1)
        return rows.ClientUpgradeLocation;
    if (key == "GenEnabled"_L1)
        return rows.GenEnabled;
    if (key == "GenPort"_L1)
        return shownPort(rows.GenPort);
    return {};
}

void ServerConfigForm::setValue(const QString &key, const QVariant &value)
{
    if (value == this->value(key))
        return;
    if (key == "ClientPort"_L1)
        rows.ClientPort = value.toInt();
    else if (key == "UDPPort"_L1)
        rows.UDPPort = value.toInt();
    else if (key == "DebugTrace"_L1)
        rows.Trace = value.toBool();
    else if (key == "ClientUpdPath"_L1)
        rows.ClientUpgradeLocation = value.toString();
    else if (key == "GenEnabled"_L1)
        rows.GenEnabled = value.toBool();
    else if (key == "GenPort"_L1)
        rows.GenPort = value.toInt();
}

ServerConfigForm::Outcome ServerConfigForm::OKButton()
{
    TraceLog(Form + u"OKButton"_s);
    Frontend &frontend = m_ctx.frontend;
    // The path stands in the record's text as typed; a pasted separator would cut it.
    if (!OutgoingText::Admit(frontend, {&rows.ClientUpgradeLocation}))
        return StayOpen;
    if (rows.ClientPort != m_stored.ClientPort) {
        const int answer = frontend.MessageBoxShow(ResString(136) + u'\n' + ResString(134), ResString(135),
                                                   IconExclamation, ButtonsYesNo);
        if (answer != ResultYes) {
            rows.ClientPort = m_stored.ClientPort;
            return StayOpen;
        }
    }
    const bool same = rows.UDPPort == m_stored.UDPPort && rows.Trace == m_stored.Trace &&
                      rows.ClientUpgradeLocation == m_stored.ClientUpgradeLocation &&
                      rows.GenEnabled == m_stored.GenEnabled && rows.GenPort == m_stored.GenPort &&
                      rows.ClientPort == m_stored.ClientPort;
    if (same) {
        frontend.MessageBoxShow(ResString(139), ResString(135), IconInformation, ButtonsOk);
        return Close;
    }
    // Unsent, the rows stay as they are for another OK once the link is back.
    const auto send = [this](const QString &) {
        return m_ctx.updateServerConfiguration && m_ctx.updateServerConfiguration(rows);
    };
    if (!OutgoingText::Told(frontend, OutgoingText::Send(Commands::SCU(rows), gUserInfos().UserID(), send))) {
        WriteLog(Form + u"OKButton - the configuration could not be sent to the server"_s);
        return StayOpen;
    }
    m_stored = rows;
    return Close;
}

void ServerConfigForm::DefaultButton()
{
    TraceLog(Form + u"DefaultButton"_s);
    rows.ResetDefaultValues();
}

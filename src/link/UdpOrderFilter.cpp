#include "link/UdpOrderFilter.h"

#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "link/RelayFrames.h"

#include <QHostInfo>

using namespace Qt::StringLiterals;

namespace {
const QString Form = u"UdpOrderRelay:"_s;
}

void UdpOrderFilter::check(const QByteArray &datagram, const QHostAddress &sender)
{
    const Options &options = gOptions();
    if (options.UdpOrdersFrom.trimmed().compare("server"_L1, Qt::CaseInsensitive) != 0) {
        Q_EMIT accepted(datagram, sender);
        return;
    }
    const QString server = options.Server.trimmed();
    if (m_resolved && server == m_server) {
        decide(datagram, sender);
        return;
    }
    m_waiting.append({datagram, sender});
    if (m_lookingUp != server || m_lookupId == -1)
        lookUp(server);
}

void UdpOrderFilter::lookUp(const QString &server)
{
    if (m_lookupId != -1)
        QHostInfo::abortHostLookup(m_lookupId);
    m_lookupId = -1;
    m_lookingUp = server;
    const QHostAddress literal(server);
    if (server.isEmpty() || !literal.isNull()) {
        resolved(server, literal.isNull() ? QList<QHostAddress>() : QList<QHostAddress>{literal});
        return;
    }
    m_lookupId = QHostInfo::lookupHost(server, this, [this, server](const QHostInfo &info) {
        m_lookupId = -1;
        resolved(server, info.addresses());
    });
}

void UdpOrderFilter::resolved(const QString &server, const QList<QHostAddress> &addresses)
{
    if (server != m_server)
        m_logged.clear();
    m_server = server;
    m_addresses = addresses;
    // A failed lookup is not kept: the next order asks again.
    m_resolved = !addresses.isEmpty();
    m_lookingUp.clear();
    for (const auto &[datagram, sender] : std::exchange(m_waiting, {}))
        decide(datagram, sender);
}

void UdpOrderFilter::decide(const QByteArray &datagram, const QHostAddress &sender)
{
    for (const QHostAddress &address : std::as_const(m_addresses)) {
        if (address.isEqual(sender, QHostAddress::ConvertV4MappedToIPv4)) {
            Q_EMIT accepted(datagram, sender);
            return;
        }
    }
    const QString from = RelayFrames::plainAddress(sender);
    TraceLog(Form + u"check - dropped an order from "_s + from);
    if (m_logged.contains(from))
        return;
    m_logged.insert(from);
    WriteLog(u"UDP order from "_s + from + u" ignored: only the server "_s + m_server +
             u" may give orders"_s);
}

#include "link/ConnectionManager.h"

#include "core/Failure.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Encryption.h"
#include "link/Policies.h"
#include "link/UdpOrderFilter.h"
#include "link/UdpOrderRelay.h"

#include <QHostInfo>
#include <QNetworkDatagram>

#include <algorithm>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

// The numbers that the log has always shown for socket failures.
int errorNumber(QAbstractSocket::SocketError error)
{
    switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
        return 10061;
    case QAbstractSocket::RemoteHostClosedError:
        return 10054;
    case QAbstractSocket::HostNotFoundError:
        return 11001;
    case QAbstractSocket::SocketAccessError:
        return 10013;
    case QAbstractSocket::SocketResourceError:
        return 10055;
    case QAbstractSocket::SocketTimeoutError:
        return 10060;
    case QAbstractSocket::DatagramTooLargeError:
        return 10040;
    case QAbstractSocket::NetworkError:
        return 10065;
    case QAbstractSocket::AddressInUseError:
        return 10048;
    case QAbstractSocket::SocketAddressNotAvailableError:
        return 10049;
    case QAbstractSocket::UnsupportedSocketOperationError:
        return 10045;
    default:
        return 10000 + int(error);
    }
}

qint32 reconnectPolicy()
{
    return gPolicies().Reconnect;
}

} // namespace

ConnectionManager::ConnectionManager(Encryption &encryptor, QObject *parent)
    : QObject(parent), tmrReconnect(60000, [this] { tmrReconnect_Timer(); }),
      tmrMonitor(1000, [this] { tmrMonitor_Timer(); }),
      tmrAdminWatchdog(60000, [this] { tmrAdminWatchdog_Timer(); }),
      tmrUdpStarter(6000, [this] { tmrUdpStarter_Timer(); }), tmrRetry(1000, [this] { tmrRetry_Timer(); }),
      m_encryptor(encryptor)
{
    connect(&wsClient, &QTcpSocket::connected, this, &ConnectionManager::wsClient_Connect);
    connect(&wsClient, &QTcpSocket::disconnected, this, &ConnectionManager::onDisconnected);
    connect(&wsClient, &QTcpSocket::errorOccurred, this, &ConnectionManager::onSocketError);
    // readyRead is held back while one of its slots runs, so a box opened by a
    // frame's handler would hear nothing more until it closed; channelReadyRead
    // reaches the box's own loop and runs a new pass on the same queue.
    connect(&wsClient, &QTcpSocket::channelReadyRead, this, &ConnectionManager::onReadyRead);
    connect(&wsUDP, &QUdpSocket::readyRead, this, &ConnectionManager::onDatagrams);
    connect(&wsUDP, &QUdpSocket::disconnected, this, [this] { tmrUdpStarter.setEnabled(true); });
    m_udpRelay = std::make_unique<UdpOrderRelay>(wsUDP);
    m_udpFilter = new UdpOrderFilter(this);
    connect(m_udpRelay.get(), &UdpOrderRelay::orderRelayed, this, &ConnectionManager::onUdpOrder);
    // The service left: join it again at once, then at the starter's pace. One that closed as soon
    // as it was joined (full, or sending garbage) is tried at the starter's pace only: joined again
    // at once, it would close again at once, thousands of times a second.
    connect(
        m_udpRelay.get(), &UdpOrderRelay::serviceGone, this,
        [this](bool lasted) {
            if (lasted)
                tmrUdpStarter_Timer();
            else
                tmrUdpStarter.setEnabled(true);
        },
        Qt::QueuedConnection);
    connect(m_udpFilter, &UdpOrderFilter::accepted, this, &ConnectionManager::wsUDP_DataArrival);
    tmrUdpStarter.setEnabled(true);
}

ConnectionManager::~ConnectionManager()
{
    // Going away is a close by this side: no close event may reach the engine.
    wsClient.disconnect(this);
    wsUDP.disconnect(this);
    wsClient.abort();
}

void ConnectionManager::ConnectToServer()
{
    ReconnectToServer(gOptions().Server, gOptions().ClientPort);
}

void ConnectionManager::ReconnectToServer(QString host, int port)
{
    TraceLog(Form + QStringLiteral("ReconnectToServer - Host: ") + host + QStringLiteral(", Port: ") +
             QString::number(port));
    if (wsClient.state() != QAbstractSocket::UnconnectedState || m_errorReported)
        Close();

    Options &options = gOptions();
    Frontend *frontend = Frontend::current();
    if (host.isEmpty()) {
        if (options.Server.isEmpty() && frontend)
            options.Server =
                frontend->InputText(ResString(405), ResString(406), IconQuestion, ButtonsOkCancel, QString());
        if (options.Server.isEmpty())
            return;
        host = options.Server;
        if (frontend) {
            bool ok = false;
            const int answer = frontend
                                   ->InputText(ResString(431), ResString(406), IconQuestion, ButtonsOkCancel,
                                               QString::number(port))
                                   .trimmed()
                                   .toInt(&ok);
            // A cancelled or unreadable answer keeps the port that was offered.
            if (ok)
                port = answer;
        }
        options.ClientPort = port;
        TraceLog(Form + QStringLiteral("ReconnectToServer - NewHost: ") + host +
                 QStringLiteral(", NewPort: ") + QString::number(port));
    }

    if (port <= 0 || port > 65535) {
        LogFailure(Form + QStringLiteral("ReconnectToServer"), Failure::overflow());
        return;
    }
    m_remoteHost = host;
    m_errorReported = false;
    // A close or error still pending from the old socket runs before the attempt.
    QMetaObject::invokeMethod(
        this, [this, host, port] { wsClient.connectToHost(host, static_cast<quint16>(port)); },
        Qt::QueuedConnection);
}

void ConnectionManager::ReconnectNow(const QString &reason)
{
    // Without a known server the attempt would ask a person who may be away.
    if (gOptions().Server.isEmpty())
        return;
    WriteLog(QStringLiteral("CONNECTION - Reconnecting at once: ") + reason);
    if (wsClient.state() == QAbstractSocket::ConnectedState) {
        // A link dropped here raises no close event, so its marks are cleared by hand.
        ConnectedToServer = false;
        StopMonitor();
        tmrAdminWatchdog.setEnabled(false);
        Q_EMIT notifyIcon(false, ResString(421));
    }
    ConnectToServer();
}

void ConnectionManager::mnuConnect_Click()
{
    TraceLog(Form + QStringLiteral("mnuConnect_Click"));
    Frontend *frontend = Frontend::current();
    if (!frontend)
        return;
    const Options &options = gOptions();
    const QString host =
        frontend->InputText(ResString(405), ResString(404), IconQuestion, ButtonsOkCancel, options.Server);
    int port = options.ClientPort;
    if (!host.isEmpty()) {
        bool ok = false;
        const int answer = frontend
                               ->InputText(ResString(431), ResString(404), IconQuestion, ButtonsOkCancel,
                                           QString::number(options.ClientPort))
                               .trimmed()
                               .toInt(&ok);
        if (ok)
            port = answer;
    }
    ReconnectToServer(host, port);
}

void ConnectionManager::Close()
{
    // A new attempt, or an order to stay down, takes the place of a retry still waiting.
    tmrRetry.setEnabled(false);
    m_closingHere = true;
    wsClient.abort();
    m_closingHere = false;
    m_errorReported = false;
}

int ConnectionManager::SocketState() const
{
    if (m_errorReported && wsClient.state() == QAbstractSocket::UnconnectedState)
        return sckError;
    switch (wsClient.state()) {
    case QAbstractSocket::UnconnectedState:
        return sckClosed;
    case QAbstractSocket::HostLookupState:
        return sckResolvingHost;
    case QAbstractSocket::ConnectingState:
        return sckConnecting;
    case QAbstractSocket::ConnectedState:
        return sckConnected;
    case QAbstractSocket::BoundState:
        return sckOpen;
    case QAbstractSocket::ListeningState:
        return sckListening;
    case QAbstractSocket::ClosingState:
        return sckClosing;
    }
    return sckClosed;
}

bool ConnectionManager::SendData(const QString &dataToSend, bool monitor)
{
    TraceLog(Form + QStringLiteral("SendData"));
    // The socket, not ConnectedToServer, decides: commands may go out before CON.
    if (wsClient.state() != QAbstractSocket::ConnectedState)
        return false;
    if (monitor)
        tmrMonitor.setEnabled(true);
    Failure failure;
    const QByteArray frame =
        m_encryptor.Encrypt(dataToSend + QChar(0) + gUserInfos().UserID().toLower(), &failure);
    if (failure.isSet()) {
        LogFailure(Form + QStringLiteral("SendData"), failure);
        return false;
    }
    return wsClient.write(frame) == frame.size();
}

void ConnectionManager::StopMonitor()
{
    tmrMonitor.setEnabled(false);
    MonitorTicks = 0;
}

void ConnectionManager::SignOfLife()
{
    StopMonitor();
    WatchdogTicks = 0;
}

void ConnectionManager::HandleSocketError(int number, const QString &description)
{
    TraceLog(Form + QStringLiteral("HandleSocketError"));
    tmrAdminWatchdog.setEnabled(false);
    ConnectedToServer = false;
    StopMonitor();
    // A server that stays down fills no log: a repeated number is written once.
    if (number != m_lastErrorNumber) {
        WriteLog(QStringLiteral("Winsock error #") + QString::number(number) + QStringLiteral(": ") +
                 description);
        m_lastErrorNumber = number;
    }
    Q_EMIT notifyIcon(false, description);
    retryAtOnceOrLater();
}

void ConnectionManager::retryAtOnceOrLater()
{
    // A refused connect fails at once: retried at once each time, the failures would follow each
    // other thousands of times a second.
    if (m_retryDelayMs == 0) {
        m_retryDelayMs = 1000;
        ConnectToServer();
        return;
    }
    tmrRetry.setInterval(m_retryDelayMs);
    tmrRetry.setEnabled(true);
    m_retryDelayMs = std::min(2 * m_retryDelayMs, 60000);
}

void ConnectionManager::tmrRetry_Timer()
{
    tmrRetry.setEnabled(false);
    if (wsClient.state() != QAbstractSocket::ConnectedState)
        ConnectToServer();
}

void ConnectionManager::wsClient_Connect()
{
    TraceLog(Form + QStringLiteral("wsClient_Connect"));
    Options &options = gOptions();
    options.Server = RemoteHost();
    options.ClientPort = wsClient.peerPort();
    options.SaveConnectionSettings();
    WriteLog(QStringLiteral("CONNECTION - Connected to ") + RemoteHost());
    QString keepAliveError;
    if (!ApplyKeepAlive(wsClient, keepAlive, &keepAliveError))
        WriteLog(Form + QStringLiteral("wsClient_Connect - ") + keepAliveError);
    tmrReconnect.setEnabled(false);
    tmrAdminWatchdog.setEnabled(gUserInfos().IsAdministrator());
    gProcess().ReconnectTicks = 0;
    m_retryDelayMs = 0;
}

void ConnectionManager::wsClient_Close()
{
    TraceLog(Form + QStringLiteral("wsClient_Close"));
    Close();
    ConnectedToServer = false;
    Q_EMIT notifyIcon(false, ResString(429));
    WriteLog(ResString(429));
    StopMonitor();
    if (reconnectPolicy() == 0)
        retryAtOnceOrLater();
    // The timer runs after a close whatever the policy, -1 included.
    tmrReconnect.setEnabled(true);
    tmrAdminWatchdog.setEnabled(false);
}

void ConnectionManager::wsClient_Error(int number, const QString &description)
{
    TraceLog(Form + QStringLiteral("wsClient_Error"));
    if (tmrAdminWatchdog.isEnabled()) {
        tmrAdminWatchdog.setEnabled(false);
        Q_EMIT notifyIcon(false, description);
        ConnectedToServer = false;
    }
    const qint32 policy = reconnectPolicy();
    if (policy == -1)
        return;
    if (policy == 0)
        HandleSocketError(number, description);
    else
        tmrReconnect.setEnabled(true);
}

void ConnectionManager::tmrReconnect_Timer()
{
    // One tick follows each close or error, so the count moves once per failure
    // and not once a minute; the server relies on this pace.
    tmrReconnect.setEnabled(false);
    int &ticks = gProcess().ReconnectTicks;
    ++ticks;
    // Reached, not only equal: a delay of 0 or -1, or one lowered below the
    // count, connects at this tick instead of never.
    if (ticks >= gOptions().ReconnectDelay) {
        ticks = 0;
        if (wsClient.state() != QAbstractSocket::ConnectedState)
            ConnectToServer();
    }
}

void ConnectionManager::tmrMonitor_Timer()
{
    ++MonitorTicks;
    if (MonitorTicks != gOptions().WatchdogDelay)
        return;
    MonitorTicks = 0;
    Frontend *frontend = Frontend::current();
    if (!frontend)
        return;
    const int answer = frontend->MessageBoxShow(ResString(121), ResString(133), IconQuestion, ButtonsYesNo);
    if (answer == ResultYes)
        return;
    StopMonitor();
    HandleSocketError(NoAnswerError, QStringLiteral("Korvane Server did not respond to the SEND command"));
}

void ConnectionManager::tmrAdminWatchdog_Timer()
{
    ++WatchdogTicks;
    if (WatchdogTicks > gOptions().WatchdogFrequency) {
        SendData(QStringLiteral("WDG"), true);
        WatchdogTicks = 0;
    }
}

void ConnectionManager::tmrUdpStarter_Timer()
{
    tmrUdpStarter.setEnabled(false);
    if (m_udpRelay->isFollowing())
        return;
    const int port = gOptions().ClientPort;
    if (port <= 0 || port > 65535) {
        tmrUdpStarter.setEnabled(true);
        return;
    }
    if (UdpOrderRelay::serviceRuns(static_cast<quint16>(port))) {
        const UdpOrderRelay::Follow joined = m_udpRelay->follow(static_cast<quint16>(port));
        if (joined == UdpOrderRelay::Follow::Joined) {
            WriteLog(QStringLiteral("UDP orders of port ") + QString::number(port) +
                     QStringLiteral(" come through the machine's relay service"));
            m_lastUdpError = 0;
            // The port is the service's: a client that bound it before the service came gives it up.
            wsUDP.close();
            return;
        }
        if (joined == UdpOrderRelay::Follow::Untrusted) {
            tmrUdpStarter.setEnabled(true);
            return;
        }
    }
    // Held: the starter goes on at its pace only to notice a service that comes later.
    tmrUdpStarter.setEnabled(true);
    if (wsUDP.state() != QAbstractSocket::UnconnectedState)
        return;
    if (m_lastUdpError == 0)
        WriteLog(QStringLiteral("Binding UDP winsock to port ") + QString::number(port));
    if (m_udpRelay->hold(static_cast<quint16>(port))) {
        m_lastUdpError = 0;
        return;
    }
    // Another user's client may hold it: try again, logging a lasting error once.
    const int number = errorNumber(wsUDP.error());
    if (number != m_lastUdpError)
        WriteLog(QStringLiteral("UDP winsock error #") + QString::number(number) + QStringLiteral(": ") +
                 wsUDP.errorString());
    m_lastUdpError = number;
}

void ConnectionManager::wsUDP_DataArrival(const QByteArray &datagram)
{
    TraceLog(Form + QStringLiteral("wsUDP_DataArrival"));
    // A bare three-letter order, compared exactly; anything else is ignored.
    if (datagram == "CON") {
        WriteLog(QStringLiteral("Server sent a CONNECT command\t"));
        if (wsClient.state() != QAbstractSocket::ConnectedState)
            ConnectToServer();
    } else if (datagram == "DEC") {
        WriteLog(QStringLiteral("Server sent a DECONNECT command\t"));
        // A local close: no close event, and ConnectedToServer stays as it was.
        Close();
    } else if (datagram == "REC") {
        WriteLog(QStringLiteral("Server sent a RECONNECT command\t"));
        if (wsClient.state() == QAbstractSocket::ConnectedState)
            Close();
        else
            wsClient_Close();
        gProcess().ReconnectTicks = gOptions().ReconnectDelay - 1;
    }
}

QString ConnectionManager::RemoteHost() const
{
    return m_remoteHost;
}

QString ConnectionManager::LocalHostName() const
{
    return QHostInfo::localHostName();
}

QString ConnectionManager::LocalIP() const
{
    QHostAddress address = wsClient.localAddress();
    bool mapped = false;
    const QHostAddress v4(address.toIPv4Address(&mapped));
    return mapped ? v4.toString() : address.toString();
}

void ConnectionManager::onSocketError(QAbstractSocket::SocketError error)
{
    // The peer's close is the close event, not an error.
    if (error == QAbstractSocket::RemoteHostClosedError || m_closingHere)
        return;
    m_errorReported = true;
    wsClient_Error(errorNumber(error), wsClient.errorString());
}

void ConnectionManager::onDisconnected()
{
    if (!m_closingHere)
        wsClient_Close();
}

void ConnectionManager::onReadyRead()
{
    TraceLog(Form + QStringLiteral("DataArrival"));
    SignOfLife();
    const QByteArray bytes = wsClient.readAll();
    if (!bytes.isEmpty())
        Q_EMIT bytesArrived(bytes);
}

void ConnectionManager::onDatagrams()
{
    while (wsUDP.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = wsUDP.receiveDatagram(512);
        if (datagram.data().isEmpty())
            continue;
        onUdpOrder(datagram.data(), datagram.senderAddress());
    }
}

void ConnectionManager::onUdpOrder(const QByteArray &datagram, const QHostAddress &sender)
{
    m_udpFilter->check(datagram, sender);
}

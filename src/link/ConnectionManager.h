#pragma once

#include "core/Ticker.h"
#include "link/KeepAlive.h"

#include <QObject>
#include <QTcpSocket>
#include <QUdpSocket>

#include <memory>

class Encryption;
class UdpOrderFilter;
class UdpOrderRelay;

// Keeps the one TCP link to the server up, watches it, and obeys the server's
// UDP orders. It frames what goes out; what comes in goes to the dispatcher.
class ConnectionManager final : public QObject
{
    Q_OBJECT
public:
    // Socket states as the rest of the system numbers them.
    enum SocketStateNumber {
        sckClosed = 0,
        sckOpen = 1,
        sckListening = 2,
        sckConnectionPending = 3,
        sckResolvingHost = 4,
        sckHostResolved = 5,
        sckConnecting = 6,
        sckConnected = 7,
        sckClosing = 8,
        sckError = 9,
    };

    // The number and text of the monitor's give-up.
    static constexpr int NoAnswerError = 999;

    explicit ConnectionManager(Encryption &encryptor, QObject *parent = nullptr);
    ~ConnectionManager() override;

    void ConnectToServer();
    void ReconnectToServer(QString host, int port);
    // Renews the link now, outside the timers; the caller judged it down or stale.
    void ReconnectNow(const QString &reason);
    // The menu's Connect: asks for the host and the port, then connects.
    void mnuConnect_Click();
    // Ends the link without a word to the server and without a close event.
    void Close();
    int SocketState() const;

    // Frames the data with Chr(0) and the user id behind it; only on a connected
    // socket. False when nothing was sent.
    bool SendData(const QString &dataToSend, bool monitor = false);

    void StopMonitor();
    void HandleSocketError(int number, const QString &description);

    // Socket events, callable as they are so that tests can raise them.
    void wsClient_Connect();
    void wsClient_Close();
    void wsClient_Error(int number, const QString &description);
    void wsUDP_DataArrival(const QByteArray &datagram);

    // Timer ticks.
    void tmrReconnect_Timer();
    void tmrMonitor_Timer();
    void tmrAdminWatchdog_Timer();
    void tmrUdpStarter_Timer();
    void tmrRetry_Timer();

    // Any bytes from the server are a sign of life.
    void SignOfLife();

    QTcpSocket wsClient;
    QUdpSocket wsUDP;
    Ticker tmrReconnect;
    Ticker tmrMonitor;
    Ticker tmrAdminWatchdog;
    Ticker tmrUdpStarter;
    // Under the policy of reconnecting at once, a failure that follows a failure waits: one
    // second, doubled each time up to a minute, until a link is made.
    Ticker tmrRetry;
    // Set on each new link; tests shorten it.
    KeepAliveSettings keepAlive;

    bool ConnectedToServer = false;
    qint16 MonitorTicks = 0;
    qint16 WatchdogTicks = 0;

    // The host and local addresses of the link, as the server sees them.
    QString RemoteHost() const;
    QString LocalHostName() const;
    QString LocalIP() const;

    // Shares the UDP port with the other users' clients of this machine.
    const UdpOrderRelay &udpRelay() const { return *m_udpRelay; }

Q_SIGNALS:
    // Sets the icon and its tip; the engine then runs SetMenu.
    void notifyIcon(bool show, const QString &tooltip);
    void bytesArrived(const QByteArray &bytes);

private:
    void retryAtOnceOrLater();
    int m_retryDelayMs = 0;
    void onSocketError(QAbstractSocket::SocketError error);
    void onDisconnected();
    void onReadyRead();
    void onDatagrams();
    void onUdpOrder(const QByteArray &datagram, const QHostAddress &sender);

    Encryption &m_encryptor;
    QString m_remoteHost;
    int m_lastErrorNumber = 0;
    bool m_errorReported = false;
    // A close by this side raises no close event.
    bool m_closingHere = false;
    // Declared after wsUDP, which it closes when it goes.
    std::unique_ptr<UdpOrderRelay> m_udpRelay;
    UdpOrderFilter *m_udpFilter = nullptr;
    int m_lastUdpError = 0;
};

// An ordinary local user trying to give orders in the server's name: he takes
// the UDP order port, the name the clients once followed, and the relay
// service's socket where its folder lets him, and hands every client that
// joins an order with a made-up sender. Arguments: port, socket path.
#include <QCoreApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QUdpSocket>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return 2;
    const auto port = quint16(arguments[1].toUInt());
    QUdpSocket udp;
    udp.bind(QHostAddress::Any, port, QAbstractSocket::DontShareAddress);
    const QByteArray order = QByteArrayLiteral("\x00\x0d") + "127.0.0.1\nDEC";
    QList<QLocalServer *> servers;
    for (const QString &name : {QStringLiteral("korvane-udp-%1").arg(port), arguments[2]}) {
        auto *server = new QLocalServer(&app);
        const bool abstract = !name.startsWith(QLatin1Char('/'));
        server->setSocketOptions(abstract ? QLocalServer::AbstractNamespaceOption
                                          : QLocalServer::WorldAccessOption);
        if (!server->listen(name))
            return 3;
        QObject::connect(server, &QLocalServer::newConnection, server, [server, order] {
            while (QLocalSocket *client = server->nextPendingConnection())
                client->write(order);
        });
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

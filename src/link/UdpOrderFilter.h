#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <utility>

// The administrator's UdpOrdersFrom: "server" lets only the addresses of the
// configured server give orders; anything else (empty by default) lets anyone.
class UdpOrderFilter final : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Emits accepted for an order its sender may give, at once or once the
    // server's name is resolved; others are dropped, logged once per sender.
    void check(const QByteArray &datagram, const QHostAddress &sender);

Q_SIGNALS:
    void accepted(const QByteArray &datagram, const QHostAddress &sender);

private:
    void lookUp(const QString &server);
    void resolved(const QString &server, const QList<QHostAddress> &addresses);
    void decide(const QByteArray &datagram, const QHostAddress &sender);

    QString m_server;
    bool m_resolved = false;
    QList<QHostAddress> m_addresses;
    QString m_lookingUp;
    int m_lookupId = -1;
    QList<std::pair<QByteArray, QHostAddress>> m_waiting;
    QSet<QString> m_logged;
};

#pragma once

#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTcpServer>
#include <QUdpSocket>

class ServerState;
struct ClientLink;

// The server side of every exchange the client depends on: frames in, answers
// and broadcasts out, each change written to the state at once.
class DevServer final : public QObject
{
    Q_OBJECT
public:
    static constexpr quint16 DefaultPort = 58502;

    explicit DevServer(ServerState &state, QObject *parent = nullptr);
    ~DevServer() override;

    bool listen(const QHostAddress &address, quint16 port, QString *error);
    quint16 port() const { return m_server.serverPort(); }
    // What CON carries: the name the clients take as their agent.
    static QString agentName();

    // The control commands (ControlCommands.cpp). Each gives a line for the person, or false with the reason
    // in it.
    bool inject(const QString &to, const QString &level, const QString &from, const QString &text,
                QString *result);
    bool sendOrder(const QString &to, const QString &order, QString *result);
    QString listing() const;

    const QList<ClientLink *> &links() const { return m_links; }

private:
    using Handler = void (DevServer::*)(ClientLink &, const QString &code, const QString &data);
    static const QHash<QString, Handler> &handlers();

    void onNewConnection();
    void onReadyRead(ClientLink *link);
    void onDisconnected(ClientLink *link);
    void handle(ClientLink &link, const QString &payload);

    void send(ClientLink &link, const QString &payload);
    void send(ClientLink &link, const QString &code, const QString &data);
    // Records spread over as many frames of one code as the frame size needs.
    void sendList(ClientLink &link, const QString &code, const QStringList &records, QChar separator);
    void broadcast(const QString &code, const QString &data);
    QList<ClientLink *> linksOf(const QString &userId) const;
    bool isConnected(const QString &userId) const;
    bool hasRole(const ClientLink &link, const QString &code, int role) const;
    void changed();

    QString levelsText() const;
    QString receiptRecord(int index) const;
    void sendPendingReceipts(ClientLink &link);
    void sendPolicies(ClientLink &link);
    void storeRecord(const QString &id, const QString &text, bool package);
    bool setStatus(const QString &id, int status);

    // Log-on and liveness (LogOnHandlers.cpp).
    void logOn(ClientLink &link, const QString &code, const QString &data);
    void sendHeld(ClientLink &link, const QString &code, const QString &data);
    void watchdog(ClientLink &link, const QString &code, const QString &data);
    // IDs, messages, packages and receipts (RecordHandlers.cpp).
    void newId(ClientLink &link, const QString &code, const QString &data);
    void duplicateId(ClientLink &link, const QString &code, const QString &data);

    void takeRecord(ClientLink &link, const QString &code, const QString &data);
    void confirm(ClientLink &link, const QString &code, const QString &data);
    void updateRecord(ClientLink &link, const QString &code, const QString &data);
    void deleteRecords(ClientLink &link, const QString &code, const QString &data);
    void cancelRecord(ClientLink &link, const QString &code, const QString &data);

    void takeReceipt(ClientLink &link, const QString &code, const QString &data);
    void confirmReceipts(ClientLink &link, const QString &code, const QString &data);
    void listReceipts(ClientLink &link, const QString &code, const QString &data);
    // Directories (DirectoryHandlers.cpp) and templates (TemplateHandlers.cpp).
    void listUsers(ClientLink &link, const QString &code, const QString &data);
    void listMachines(ClientLink &link, const QString &code, const QString &data);
    void listGroups(ClientLink &link, const QString &code, const QString &data);
    void listAdministrators(ClientLink &link, const QString &code, const QString &data);
    void listMessages(ClientLink &link, const QString &code, const QString &data);
    void listTemplates(ClientLink &link, const QString &code, const QString &data);
    void storeTemplate(ClientLink &link, const QString &code, const QString &data);
    void deleteTemplates(ClientLink &link, const QString &code, const QString &data);
    void storeGroup(ClientLink &link, const QString &code, const QString &data);
    void setRoles(ClientLink &link, const QString &code, const QString &data);
    void deleteUsers(ClientLink &link, const QString &code, const QString &data);
    void deleteMachines(ClientLink &link, const QString &code, const QString &data);
    // Policies, configuration and levels (ConfigurationHandlers.cpp).
    void globalPolicies(ClientLink &link, const QString &code, const QString &data);
    void userPolicies(ClientLink &link, const QString &code, const QString &data);
    void storeGlobalPolicies(ClientLink &link, const QString &code, const QString &data);
    void storeUserPolicies(ClientLink &link, const QString &code, const QString &data);
    void serverConfig(ClientLink &link, const QString &code, const QString &data);
    void storeServerConfig(ClientLink &link, const QString &code, const QString &data);
    void storeLevels(ClientLink &link, const QString &code, const QString &data);

    ServerState &m_state;
    QTcpServer m_server;
    QUdpSocket m_udp;
    QList<ClientLink *> m_links;
    // The configuration's debug trace: every frame in and out goes to the console.
    bool m_trace = false;
};

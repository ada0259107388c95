#include "DemoData.h"

#include "DevServer.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "store/DVMessage.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

constexpr qint16 DeliveryCertified = 2;
constexpr qint16 DeliveryScheduled = 3;
constexpr int lifetimeDays = 7;

const char documentText[] = R"(<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><title>Korvane demo package</title></head>
<body>
<h1>Korvane demo package</h1>
<p>This page came as the document of a package from the development server.
Opening it from the banner shows that a package reaches this desktop and that
its link works.</p>
</body>
</html>
)";

} // namespace

namespace DemoData {

bool seed(ServerState &state, const QString &owner, const QDateTime &now, QString *error)
{
    const QString document = QFileInfo(state.path()).absolutePath() + u"/korvane-demo.html"_s;
    QSaveFile file(document);
    if (!file.open(QIODevice::WriteOnly) || file.write(documentText) < 0 || !file.commit()) {
        *error = document + u": "_s + file.errorString();
        return false;
    }

    // Certified, so that every client that logs on later still gets it.
    DVMessage welcome = NewMessage::compose(
        state.newId(), DevServer::agentName(), QString(), u"Message"_s,
        u"Welcome to Korvane. This message comes from the development server to everyone."_s, now,
        lifetimeDays);
    welcome.Subject = u"Welcome"_s;
    welcome.MsgDelivery = DeliveryCertified;
    state.records.insert(welcome.MsgID, {welcome.ToString(), false});

    DVMessage later = NewMessage::compose(
        state.newId(), DevServer::agentName(), QString(), u"Warning"_s,
        u"This scheduled message was due one minute after the server started."_s, now, lifetimeDays);
    later.Subject = u"Scheduled"_s;
    later.MsgDelivery = DeliveryScheduled;
    later.StartDate = later.NextRunDate = now.addSecs(60);
    state.records.insert(later.MsgID, {later.ToString(), false});

    DVMessage package =
        NewMessage::compose(state.newId(), DevServer::agentName(), QString(), u"sysKVPackage"_s,
                            u"A demo package: open its document."_s, now, lifetimeDays);
    package.Subject = u"Demo package"_s;
    package.MsgDelivery = DeliveryCertified;
    package.Attachment = document;
    state.records.insert(package.MsgID, {package.ToString(), true});

    // The person trying it out may use the console and every form.
    if (!owner.isEmpty()) {
        state.users[owner].role = 3;
        state.groups.insert(u"demo"_s, {u"Everyone trying the demo"_s, now, DevServer::agentName(), {owner}});
    }
    return true;
}

} // namespace DemoData

#include "DemoData.h"

#include "DevServer.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "store/DVMessage.h"
#include "store/MessageCodes.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSaveFile>

#include <tuple>

using namespace Qt::StringLiterals;

namespace {

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

    // What the console's All messages and shared templates show: messages of
    // several authors, levels and states, and two templates to start from.
    const struct
    {
        const char16_t *author, *level, *subject, *text;
        qint32 status;
        int ageDays;
    } history[] = {
        {u"it-ops", u"Alert", u"Fire drill", u"Fire drill at 11:00: leave by the nearest exit.", StatusActive,
         0},
        {u"it-ops", u"Warning", u"Mail servers", u"The mail servers restart tonight at 22:00.", StatusActive,
         1},
        {u"hr", u"Message", u"Canteen", u"The canteen closes early on Friday.", StatusCancelled, 2},
        {u"hr", u"Message", u"Holidays", u"Send your holiday requests by the end of the month.", StatusActive,
         3},
    };
    for (const auto &entry : history) {
        DVMessage m = NewMessage::compose(state.newId(), QString::fromUtf16(entry.author), QString(),
                                          QString::fromUtf16(entry.level), QString::fromUtf16(entry.text),
                                          now.addDays(-entry.ageDays), lifetimeDays);
        m.Subject = QString::fromUtf16(entry.subject);
        m.Status = entry.status;
        state.records.insert(m.MsgID, {m.ToString(), false});
    }
    for (const auto &[level, subject, text] :
         {std::tuple{u"Emergency", u"Evacuation", u"Leave the building now by the nearest exit."},
          std::tuple{u"Warning", u"Maintenance", u"%SUBJECT%: the service stops at 18:00 for one hour."}}) {
        DVMessage t =
            NewMessage::compose(state.newId(), DevServer::agentName(), QString(), QString::fromUtf16(level),
                                QString::fromUtf16(text), now, lifetimeDays);
        t.Subject = QString::fromUtf16(subject);
        state.templates.insert(t.MsgID, t.ToString());
    }

    // The person trying it out may use the console and every form.
    if (!owner.isEmpty()) {
        state.users[owner].role = 3;
        state.groups.insert(u"demo"_s, {u"Everyone trying the demo"_s, now, DevServer::agentName(), {owner}});
    }
    return true;
}

} // namespace DemoData

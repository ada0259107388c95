#pragma once

#include "authoring/AuthoringContext.h"
#include "core/Globals.h"
#include "core/Session.h"
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "store/LevelCollection.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QStringList>

#include <functional>

// What the forms of authoring see: a user over a real store, a clock that
// stands still, and every frame they send kept. Down, the link takes none.
struct AuthoringFixture : StoreFixture
{
    RecordingFrontend frontend;
    UserInfos user{QStringLiteral("jdoe")};
    Policies policies;
    LevelCollection levels;
    Session session;
    ProcessState process;
    QStringList sent;
    bool linkUp = true;
    std::function<bool(const QString &)> send = [this](const QString &payload) {
        if (linkUp)
            sent << payload;
        return linkUp;
    };
    Receipts senders{send};
    AuthoringContext context{clock,   ClientDB(), TempDB(), user,     policies, levels,
                             session, process,    senders,  frontend, send};

    // The captions of the boxes put up so far, and the last one.
    QStringList captions() const { return frontend.captions(); }
    QString caption() const { return captions().value(captions().size() - 1); }
};

#pragma once

#include "core/Globals.h"
#include "core/Ticker.h"
#include "store/DBFunctions.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdint>

// One application, one data folder with both databases, for the whole run of
// a fuzz target.
inline void fuzzEnvironment()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static QCoreApplication *app = new QCoreApplication(argc, argv);
    static QTemporaryDir *folder = new QTemporaryDir();
    static const bool ready = [] {
        Ticker::setManual(true);
        gProcess().AppDataPath = folder->path();
        return InitializeDB(folder->path());
    }();
    Q_UNUSED(app);
    Q_UNUSED(ready);
}

// The bytes as wire text: one character per byte.
QString wireText(const uint8_t *data, size_t size);

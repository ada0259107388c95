#pragma once

#include "core/Globals.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "support/FakeClock.h"
#include "support/TempProfile.h"

#include <QSqlQuery>

// A temporary profile with Client.db and Temp.db open on real files, and a
// clock that stands still.
struct StoreFixture
{
    TempProfile profile;
    FakeClock clock{FakeClock::at(2026, 11, 23, 10, 30, 45)};
    bool opened = false;

    explicit StoreFixture(bool open = true)
    {
        gProcess().AppDataPath = profile.dataHome();
        if (open)
            opened = InitializeDB(profile.dataHome());
    }
    ~StoreFixture() { close(); }
    static void close()
    {
        ClientDB().close();
        TempDB().close();
    }
    bool reopen()
    {
        close();
        return InitializeDB(profile.dataHome());
    }
    // The first column of the first row, -1 when there is none.
    static int count(Database &database, const QString &sql)
    {
        return column(database, sql).value(0, QStringLiteral("-1")).toInt();
    }
    // The first column of every row.
    static QStringList column(Database &database, const QString &sql)
    {
        QStringList values;
        QSqlQuery *rows = database.query(sql);
        while (rows && rows->next())
            values << rows->value(0).toString();
        if (rows)
            rows->finish();
        return values;
    }
};

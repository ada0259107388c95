#pragma once

#include <QString>
#include <QStringList>

class Database;

// The tables, keys, indexes and delete cascades of both databases.
namespace Schema {

// 1: the tables and their cascades; 2: the indexes that the minute scans use.
constexpr int ClientVersion = 2;

// The columns of every message table, in order.
const QStringList &MessageColumns();

// Makes what is missing of Client.db and brings an older file up to date, one
// step per version, each in a transaction. A table already there is kept.
bool CreateTables(Database &client);
// Temp.db is made anew at every start.
bool CreateTempTables(Database &temp);

} // namespace Schema

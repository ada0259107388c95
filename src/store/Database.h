#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>

// One SQLite file of the client, opened once for the run. Statements are
// prepared once and kept; transactions nest as savepoints, so an operation
// that runs inside a caller's batch commits with the batch.
struct sqlite3;
struct sqlite3_stmt;

// A row of a raw read, valid only while the reader runs: its cells as SQLite
// holds them, texts as UTF-8, without a QVariant per cell.
class RawRow
{
public:
    explicit RawRow(sqlite3_stmt *stmt) : m_stmt(stmt) {}
    QByteArrayView text(int column) const;
    qint64 integer(int column) const;

private:
    sqlite3_stmt *m_stmt;
};

class Database
{
public:
    explicit Database(const QString &connectionName);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // Opens the file (making it when missing, readable by its owner only),
    // checks that it is sound, and sets the journal. False with the reason in
    // lastError() when the file cannot be used; a damaged file is left untouched.
    bool open(const QString &fileName);
    void close();
    bool isOpen() const { return m_open; }
    const QString &fileName() const { return m_fileName; }
    const QString &name() const { return m_name; }
    QString lastError() const { return m_lastError; }

    // A prepared statement, made once per text. Nullptr (with lastError) when
    // the text does not prepare, for instance on a table this file lacks.
    QSqlQuery *prepare(const QString &sql);
    // Prepares (once), binds the values in order and runs; false with lastError.
    // Statements that change rows run straight on the SQLite connection: they
    // are the hot path of intake and need no result set.
    bool exec(const QString &sql, const QVariantList &values = {});
    // Whether the statement gives at least one row; ok false on failure.
    bool exists(const QString &sql, const QVariantList &values, bool *ok = nullptr);
    // Rows the last exec changed.
    int changes() const;
    QSqlQuery *query(const QString &sql, const QVariantList &values = {});
    // Runs a query straight on the connection, handing each row to the reader:
    // the console reads whole tables of 100,000 rows this way.
    bool forEachRow(const QString &sql, const QVariantList &values,
                    const std::function<void(const RawRow &)> &reader);

    bool begin();
    bool commit();
    void rollback();

    bool hasTable(const QString &table);
    int userVersion();
    bool setUserVersion(int version);

    QSqlDatabase handle() const { return QSqlDatabase::database(m_name, false); }

private:
    bool fail(const QString &error);
    sqlite3_stmt *statement(const QString &sql);
    bool bind(sqlite3_stmt *stmt, const QVariantList &values);

    QString m_name;
    QString m_fileName;
    QString m_lastError;
    bool m_open = false;
    int m_depth = 0;
    QHash<QString, QSqlQuery *> m_statements;
    QHash<QString, sqlite3_stmt *> m_raw;
    // The text of the values bound to the statement that is running.
    QList<QByteArray> m_bound;
    sqlite3 *m_db = nullptr;
};

// A batch of work that commits as one, or not at all.
class Transaction
{
public:
    explicit Transaction(Database &database) : m_database(database), m_active(database.begin()) {}
    ~Transaction()
    {
        if (m_active)
            m_database.rollback();
    }
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    bool commit()
    {
        const bool done = m_active && m_database.commit();
        m_active = false;
        return done;
    }

private:
    Database &m_database;
    bool m_active;
};

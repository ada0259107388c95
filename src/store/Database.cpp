#include "store/Database.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlRecord>

#include <sqlite3.h>

Database::Database(const QString &connectionName) : m_name(connectionName) {}

Database::~Database()
{
    if (m_open)
        close();
}

bool Database::fail(const QString &error)
{
    m_lastError = error;
    return false;
}

bool Database::open(const QString &fileName)
{
    close();
    m_fileName = fileName;
    const QFileInfo info(fileName);
    if (info.exists() && !info.isFile())
        return fail(fileName + QStringLiteral(" is not a file"));
    const bool existed = info.exists();
    if (existed && !info.isReadable())
        return fail(fileName + QStringLiteral(" cannot be read"));

    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        db.setDatabaseName(fileName);
        if (!db.open()) {
            const QString error = db.lastError().text();
            db = QSqlDatabase();
            QSqlDatabase::removeDatabase(m_name);
            return fail(error);
        }
    }
    m_open = true;
    const QVariant driverHandle = handle().driver()->handle();
    if (driverHandle.isValid() && qstrcmp(driverHandle.typeName(), "sqlite3*") == 0)
        m_db = *static_cast<sqlite3 *const *>(driverHandle.constData());
    if (!existed)
        QFile::setPermissions(fileName, QFileDevice::ReadOwner | QFileDevice::WriteOwner);

    // Look before writing anything: a damaged file must stay as it is.
    QSqlQuery *check = query(QStringLiteral("PRAGMA quick_check"));
    if (!check || !check->next() || check->value(0).toString() != QLatin1String("ok")) {
        const QString error =
            check ? (check->isActive() ? check->value(0).toString() : m_lastError) : m_lastError;
        close();
        return fail(error.isEmpty() ? QStringLiteral("file is not a database") : error);
    }
    check->finish();
    QSqlQuery *journal = query(QStringLiteral("PRAGMA journal_mode=WAL"));
    if (!journal) {
        const QString error = m_lastError;
        close();
        return fail(error);
    }
    journal->finish();
    // A commit returns only once the log is on disk: a record confirmed to the server survives a power cut.
    exec(QStringLiteral("PRAGMA synchronous=FULL"));
    exec(QStringLiteral("PRAGMA foreign_keys=ON"));
    return true;
}

void Database::close()
{
    for (sqlite3_stmt *stmt : std::as_const(m_raw))
        sqlite3_finalize(stmt);
    m_raw.clear();
    m_db = nullptr;
    qDeleteAll(m_statements);
    m_statements.clear();
    m_depth = 0;
    if (m_open && QSqlDatabase::contains(m_name)) {
        {
            QSqlDatabase db = QSqlDatabase::database(m_name, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(m_name);
    }
    m_open = false;
}

QSqlQuery *Database::prepare(const QString &sql)
{
    if (!m_open) {
        fail(QStringLiteral("the database is not open"));
        return nullptr;
    }
    if (QSqlQuery *cached = m_statements.value(sql))
        return cached;
    auto *statement = new QSqlQuery(handle());
    statement->setForwardOnly(true);
    if (!statement->prepare(sql)) {
        fail(statement->lastError().text());
        delete statement;
        return nullptr;
    }
    m_statements.insert(sql, statement);
    return statement;
}

QSqlQuery *Database::query(const QString &sql, const QVariantList &values)
{
    QSqlQuery *statement = prepare(sql);
    if (!statement)
        return nullptr;
    statement->finish();
    for (int i = 0; i < values.size(); ++i)
        statement->bindValue(i, values[i]);
    if (!statement->exec()) {
        fail(statement->lastError().text());
        return nullptr;
    }
    return statement;
}

sqlite3_stmt *Database::statement(const QString &sql)
{
    if (!m_open || !m_db) {
        fail(QStringLiteral("the database is not open"));
        return nullptr;
    }
    if (sqlite3_stmt *cached = m_raw.value(sql))
        return cached;
    sqlite3_stmt *stmt = nullptr;
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, text.constData(), int(text.size()), &stmt, nullptr) != SQLITE_OK) {
        fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
        sqlite3_finalize(stmt);
        return nullptr;
    }
    m_raw.insert(sql, stmt);
    return stmt;
}

bool Database::bind(sqlite3_stmt *stmt, const QVariantList &values)
{
    m_bound.clear();
    m_bound.reserve(values.size());
    for (int i = 0; i < values.size(); ++i) {
        const QVariant &value = values[i];
        int rc = SQLITE_OK;
        switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::Short:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::Bool:
            rc = sqlite3_bind_int64(stmt, i + 1, value.toLongLong());
            break;
        case QMetaType::Double:
            rc = sqlite3_bind_double(stmt, i + 1, value.toDouble());
            break;
        case QMetaType::UnknownType:
            rc = sqlite3_bind_null(stmt, i + 1);
            break;
        default: {
            // The file holds UTF-8: converting here is cheaper than letting SQLite
            // translate, and the bytes live until the statement has run.
            m_bound.append(value.toString().toUtf8());
            const QByteArray &text = m_bound.last();
            rc = sqlite3_bind_text(stmt, i + 1, text.isNull() ? "" : text.constData(), int(text.size()),
                                   SQLITE_STATIC);
            break;
        }
        }
        if (rc != SQLITE_OK)
            return fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
    }
    return true;
}

bool Database::exec(const QString &sql, const QVariantList &values)
{
    sqlite3_stmt *stmt = statement(sql);
    if (!stmt)
        return false;
    bool done = bind(stmt, values);
    if (done) {
        int rc = SQLITE_ROW;
        while (rc == SQLITE_ROW)
            rc = sqlite3_step(stmt);
        done = rc == SQLITE_DONE || fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
    }
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    m_bound.clear();
    return done;
}

bool Database::exists(const QString &sql, const QVariantList &values, bool *ok)
{
    sqlite3_stmt *stmt = statement(sql);
    bool good = stmt && bind(stmt, values);
    bool found = false;
    if (good) {
        const int rc = sqlite3_step(stmt);
        found = rc == SQLITE_ROW;
        good = found || rc == SQLITE_DONE || fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
    }
    if (stmt) {
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
    }
    m_bound.clear();
    if (ok)
        *ok = good;
    return found;
}

bool Database::forEachRow(const QString &sql, const QVariantList &values,
                          const std::function<void(const RawRow &)> &reader)
{
    sqlite3_stmt *stmt = statement(sql);
    bool done = stmt && bind(stmt, values);
    if (done) {
        const RawRow row(stmt);
        int rc = SQLITE_ROW;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
            reader(row);
        done = rc == SQLITE_DONE || fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
    }
    if (stmt) {
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
    }
    m_bound.clear();
    return done;
}

QByteArrayView RawRow::text(int column) const
{
    const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    return bytes ? QByteArrayView(bytes, sqlite3_column_bytes(m_stmt, column)) : QByteArrayView();
}

qint64 RawRow::integer(int column) const
{
    return sqlite3_column_int64(m_stmt, column);
}

int Database::changes() const
{
    return m_db ? sqlite3_changes(m_db) : 0;
}

bool Database::begin()
{
    if (!exec(QStringLiteral("SAVEPOINT batch%1").arg(m_depth)))
        return false;
    ++m_depth;
    return true;
}

bool Database::commit()
{
    if (m_depth == 0)
        return false;
    --m_depth;
    return exec(QStringLiteral("RELEASE batch%1").arg(m_depth));
}

void Database::rollback()
{
    if (m_depth == 0)
        return;
    --m_depth;
    exec(QStringLiteral("ROLLBACK TO batch%1").arg(m_depth));
    exec(QStringLiteral("RELEASE batch%1").arg(m_depth));
}

bool Database::hasTable(const QString &table)
{
    QSqlQuery *found =
        query(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type='table' AND name=?"), {QVariant(table)});
    const bool result = found && found->next();
    if (found)
        found->finish();
    return result;
}

int Database::userVersion()
{
    QSqlQuery *version = query(QStringLiteral("PRAGMA user_version"));
    const int result = version && version->next() ? version->value(0).toInt() : 0;
    if (version)
        version->finish();
    return result;
}

bool Database::setUserVersion(int version)
{
    return exec(QStringLiteral("PRAGMA user_version=%1").arg(version));
}

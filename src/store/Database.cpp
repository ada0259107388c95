#include "store/Database.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlRecord>

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
    exec(QStringLiteral("PRAGMA synchronous=NORMAL"));
    exec(QStringLiteral("PRAGMA foreign_keys=ON"));
    return true;
}

void Database::close()
{
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

bool Database::exec(const QString &sql, const QVariantList &values)
{
    QSqlQuery *statement = query(sql, values);
    if (!statement)
        return false;
    statement->finish();
    return true;
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

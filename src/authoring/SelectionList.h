#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class Database;
struct Session;

// The logic of the selection dialog: the rows of one directory, the names of
// the target ticked among them, and the items of the target that are not of
// this directory, which survive untouched behind the ticked ones.
class SelectionList
{
public:
    struct Row
    {
        QString Name;
        QString Description;
    };

    // The request for a server's directory not yet received in this run, with
    // the letter of the form that asks; empty when the kind's rows are at hand.
    static QString RequestFor(int kind, const Session &session, QChar requester);
    // The rows of a kind (see SelectionKind) from its source, in table order.
    static QList<Row> LoadRows(int kind, Database &clientDB, Database &tempDB);

    void Initialize(const QList<Row> &rows, const QString &target);
    const QList<Row> &Rows() const { return m_rows; }

    bool isSelected(int row) const { return m_order.contains(row); }
    void setSelected(int row, bool selected);
    void SelectAll();
    void UnselectAll();
    bool CanUnselectAll() const { return !m_order.isEmpty(); }

    // The ticked names in the order of the list, then the unknown items.
    QString SaveSelection() const;
    const QStringList &Unknown() const { return m_unknown; }

private:
    void CreateCollection(const QString &target);

    QList<Row> m_rows;
    QList<int> m_order;
    QStringList m_unknown;
};

#pragma once

#include "core/PropertyRows.h"
#include "link/ServerConfig.h"

#include <QString>
#include <QVariant>

#include <functional>

class Frontend;

// The logic of the server configuration form: the record the server sent, the
// rows being edited, and what OK asks and sends.
class ServerConfigForm
{
public:
    enum Outcome { StayOpen, Close };

    struct Context
    {
        // Asks the port question and tells that nothing changed.
        Frontend &frontend;
        // The engine's UpdateServerConfiguration, which sends SCU; false when it did not leave.
        std::function<bool(const ServerConfig &)> updateServerConfiguration;
    };

    explicit ServerConfigForm(Context context) : m_ctx(std::move(context)) {}

    static const QList<PropertyRow> &Rows();
    static QString Title();

    void SetConfig(const ServerConfig &config);
    // The record's text form, as SCR's answer carries it.
    void SetConfig(const QString &text);
    // The record as the server has it.
    const ServerConfig &stored() const { return m_stored; }

    // A row's value as the inspector shows it, and back from it. A row read back
    // as it was shown was left alone, and keeps the value the server sent.
    QVariant value(const QString &key) const;
    void setValue(const QString &key, const QVariant &value);

    Outcome OKButton();
    // The rows take the defaults; nothing goes to the server before OK.
    void DefaultButton();

    // What the rows hold.
    ServerConfig rows;

private:
    Context m_ctx;
    ServerConfig m_stored;
};

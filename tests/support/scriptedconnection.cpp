#include "support/scriptedconnection.h"

namespace {

class ScriptedRows : public RowSource {
public:
    explicit ScriptedRows(const Reply &reply)
        : m_rows(static_cast<int>(reply.fields.size()))
        , m_error(reply.error)
    {
        for (const QString &name : reply.fields)
            m_fields.push_back({name, FieldKind::Text});
        for (const auto &row : reply.rows) {
            m_rows.beginRow();
            for (const auto &value : row) {
                if (!value)
                    m_rows.addNull();
                else
                    m_rows.addCell(value->toStdString());
            }
        }
    }
    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return true; }
    bool read(RowBlock &block) override
    {
        if (m_rows.isEmpty() && m_error)
            throw Failure(*m_error);
        block = std::exchange(m_rows, RowBlock(static_cast<int>(m_fields.size())));
        return !block.isEmpty();
    }

private:
    std::vector<Field> m_fields;
    RowBlock m_rows;
    const std::optional<Failure> m_error;
};

class ScriptedConnection : public Connection {
public:
    ScriptedConnection(Script &script, QString string)
        : m_script(script)
        , m_string(std::move(string))
    {
    }
    void open() override
    {
        if (m_script.whyUnreachable)
            throw Failure(*m_script.whyUnreachable);
        m_isOpen = true;
    }
    void close() override { m_isOpen = false; }
    bool isOpen() const override { return m_isOpen; }
    QString connectionString() const override { return m_string; }
    ServerInfo server() const override { return m_script.server; }
    Encryption encryption() const override { return m_script.encryption; }
    RecordSet execute(const QString &statement) override { return m_script.answer(statement); }
    bool isBusy() const override { return false; }
    void cancel() override {}

private:
    Script &m_script;
    QString m_string;
    bool m_isOpen = false;
};

} // namespace

Reply Reply::table(QStringList fields, std::vector<std::vector<std::optional<QString>>> rows)
{
    return {true, std::move(fields), std::move(rows), {}, {}};
}

Reply Reply::noted(const QString &note)
{
    return {false, {}, {}, {}, note};
}

Reply Reply::failure(const QString &description, int number, const QString &state)
{
    return {false, {}, {}, Failure(description, number, state), {}};
}

RecordSet Script::answer(const QString &statement)
{
    sent << statement;
    if (beforeAnswer)
        beforeAnswer(statement);
    Reply reply;
    if (const auto failure = m_failures.find(static_cast<int>(sent.size()) - 1);
        failure != m_failures.end()) {
        reply = failure->second;
    } else if (auto once = m_once.find(statement); once != m_once.end() && !once->second.empty()) {
        reply = std::move(once->second.front());
        once->second.pop_front();
    } else if (const auto always = m_always.find(statement); always != m_always.end()) {
        reply = always->second;
    }
    if (reply.error && !reply.hasRows)
        throw Failure(*reply.error);
    if (!reply.hasRows)
        return RecordSet(reply.note);
    return RecordSet(std::make_unique<ScriptedRows>(reply));
}

std::unique_ptr<Connection> Script::connect(const QString &connectionString)
{
    auto connection = factory()(connectionString);
    connection->open();
    return connection;
}

ConnectionFactory Script::factory()
{
    return [this](const QString &connectionString) {
        connectionStrings << connectionString;
        return std::make_unique<ScriptedConnection>(*this, connectionString);
    };
}

#include "maintenance/exactsession.h"

#include "core/statements.h"

#include <vector>

namespace {

struct Setting {
    QString variable, value;
    bool isText = false;
};

std::vector<Setting> settings(const ServerInfo &server)
{
    std::vector<Setting> list{
        {QStringLiteral("sql_mode"), quotedText(ExactSession::sqlMode()), true},
        // A TIMESTAMP in the doubled hour of a clock change has no text of its own in local time.
        {QStringLiteral("time_zone"), QStringLiteral("'+00:00'"), true},
        {QStringLiteral("foreign_key_checks"), QStringLiteral("0")},
        // A limit that the user set in the console would cut the rows of a backup off without a word.
        {QStringLiteral("sql_select_limit"), QStringLiteral("DEFAULT")},
        {QStringLiteral("sql_quote_show_create"), QStringLiteral("1")},
    };
    constexpr int firstWithSwitch = 100201;
    if (server.isMariaDb && server.number >= firstWithSwitch)
        list.push_back({QStringLiteral("check_constraint_checks"), QStringLiteral("0")});
    return list;
}

} // namespace

QString objectType(Connection &connection, const QString &database, const QString &name)
{
    RecordSet rows = connection.execute(
        QStringLiteral(
            "SELECT TABLE_TYPE FROM information_schema.TABLES WHERE TABLE_SCHEMA=%1 AND TABLE_NAME=%2")
            .arg(quotedText(database), quotedText(name)));
    return rows.isEof() ? QString() : rows.text(0);
}

QString createText(Connection &connection, const QString &database, const QString &name)
{
    RecordSet rows = connection.execute(QStringLiteral("SHOW CREATE TABLE ") + quotedName(database, name));
    if (rows.isEof() || rows.fieldCount() < 2)
        throw SqlError(QStringLiteral("「%1」の定義を読めません。").arg(name));
    return rows.text(1);
}

QString ExactSession::sqlMode()
{
    // Strict, so that a value that does not fit fails instead of changing; zero and impossible dates that the
    // table once took are taken again.
    return QStringLiteral(
        "STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES,NO_ENGINE_SUBSTITUTION");
}

ExactSession::ExactSession(Connection &connection, const QString &database)
    : m_connection(connection)
{
    const std::vector<Setting> list = settings(connection.server());
    QStringList read{QStringLiteral("DATABASE()")};
    for (const Setting &setting : list)
        read << QStringLiteral("@@") + setting.variable;
    RecordSet rows = connection.execute(QStringLiteral("SELECT ") + read.join(QStringLiteral(", ")));
    if (rows.isEof())
        throw SqlError(QStringLiteral("サーバーの設定を読めません。"));

    QStringList set, putBack;
    int column = 1;
    for (const Setting &setting : list) {
        const QString old = rows.text(column++);
        set << setting.variable + u'=' + setting.value;
        putBack << setting.variable + u'=' + (setting.isText ? quotedText(old) : old);
    }
    m_putBack << QStringLiteral("SET SESSION ") + putBack.join(QStringLiteral(", "));
    if (!rows.isNull(0))
        m_putBack << useStatement(rows.text(0));
    rows.close();

    // The default database first: where it fails, nothing has been set.
    connection.execute(useStatement(database));
    connection.execute(QStringLiteral("SET SESSION ") + set.join(QStringLiteral(", ")));
}

ExactSession::~ExactSession()
{
    try {
        for (const QString &statement : m_putBack)
            m_connection.execute(statement);
    } catch (const SqlError &) {
        // Only a connection that is gone refuses this, and its session with its settings is gone too.
    }
}

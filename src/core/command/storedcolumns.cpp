#include "core/command/storedcolumns.h"

#include "core/sql/statements.h"

#include <QRegularExpression>

ValueForm valueForm(const QString &dataType, const QString &characterSet)
{
    static const QRegularExpression safeSets(QStringLiteral("^(ascii|latin1|utf8|utf8mb3|utf8mb4)$"));
    static const QRegularExpression numbersAndTimes(QStringLiteral(
        "^((tiny|small|medium|big)?int|integer|decimal|numeric|date|datetime|time|timestamp|year)$"));
    static const QRegularExpression reals(QStringLiteral("^(float|double|real)$"));
    static const QRegularExpression bytes(
        QStringLiteral("^(bit|(var)?binary|(tiny|medium|long)?blob|vector|(multi)?(point|linestring|polygon)|"
                       "geometry|geom(etry)?collection)$"));
    if (!characterSet.isEmpty())
        return safeSets.match(characterSet).hasMatch() ? ValueForm::Plain : ValueForm::Bytes;
    if (numbersAndTimes.match(dataType).hasMatch())
        return ValueForm::Plain;
    if (reals.match(dataType).hasMatch())
        return ValueForm::Real;
    return bytes.match(dataType).hasMatch() ? ValueForm::Bytes : ValueForm::Words;
}

bool isGenerated(const QString &extra)
{
    // MySQL's "DEFAULT_GENERATED" marks an expression as default of an ordinary column.
    static const QRegularExpression words(QStringLiteral("\\b(VIRTUAL|PERSISTENT|STORED)\\b"),
                                          QRegularExpression::CaseInsensitiveOption);
    return words.match(extra).hasMatch();
}

bool isOfText(const StoredColumn &column)
{
    return column.type.endsWith(u"char") || column.type.endsWith(u"text") || column.type == u"enum" ||
           column.type == u"set";
}

StoredColumns readStoredColumns(Connection &connection, const QString &database, const QString &table)
{
    RecordSet rows = connection.execute(
        QStringLiteral(
            "SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_SET_NAME, EXTRA FROM information_schema.COLUMNS "
            "WHERE TABLE_SCHEMA=%1 AND TABLE_NAME=%2 ORDER BY ORDINAL_POSITION")
            .arg(quotedText(database), quotedText(table)));
    StoredColumns found;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QString characterSet = rows.isNull(2) ? QString() : rows.text(2);
        const QString type = rows.text(1).toLower(), extra = rows.text(3);
        if (isGenerated(extra))
            found.hasGenerated = true;
        else
            found.columns.push_back({rows.text(0), valueForm(type, characterSet),
                                     extra.contains(u"auto_increment", Qt::CaseInsensitive), type,
                                     extra.contains(u"INVISIBLE", Qt::CaseInsensitive)});
    }
    return found;
}

std::vector<StoredColumn> storedColumns(Connection &connection, const QString &database, const QString &table)
{
    std::vector<StoredColumn> columns = readStoredColumns(connection, database, table).columns;
    if (columns.empty())
        throw Failure(QStringLiteral("テーブル「%1」には値を保存できる列がありません。").arg(table));
    return columns;
}

std::vector<SessionVariable> exactVariables(const ServerInfo &server)
{
    std::vector<SessionVariable> list{
        // Strict, so that a value that does not fit fails instead of changing; zero and impossible dates that
        // the table once took are taken again.
        {QStringLiteral("sql_mode"),
         QStringLiteral(
             "'STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES,NO_ENGINE_SUBSTITUTION'")},
        // A TIMESTAMP in the doubled hour of a clock change has no text of its own in local time.
        {QStringLiteral("time_zone"), QStringLiteral("'+00:00'")},
        {QStringLiteral("foreign_key_checks"), QStringLiteral("0")},
        // A limit that the user set in the console would cut the rows of a backup off without a word.
        {QStringLiteral("sql_select_limit"), QStringLiteral("18446744073709551615")},
        {QStringLiteral("sql_quote_show_create"), QStringLiteral("1")},
    };
    constexpr int firstWithSwitch = 100201;
    if (server.isMariaDb && server.number >= firstWithSwitch)
        list.push_back({QStringLiteral("check_constraint_checks"), QStringLiteral("0")});
    return list;
}

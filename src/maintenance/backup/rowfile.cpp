#include "maintenance/backup/rowfile.h"

#include "core/sql/statements.h"
#include "maintenance/tablechange/tablechangetext.h"

#include <QRegularExpression>

namespace {

QString fileFormat()
{
    return QStringLiteral("CHARACTER SET binary FIELDS TERMINATED BY '\\t' ESCAPED BY '\\\\' "
                          "LINES TERMINATED BY '\\n'");
}

QString written(const StoredColumn &column)
{
    const QString name = quotedName(column.name);
    switch (column.form) {
    case ValueForm::Real:
        return name + QStringLiteral("*1e0");
    case ValueForm::Bytes:
        return QStringLiteral("HEX(%1)").arg(name);
    case ValueForm::Words:
        return QStringLiteral("HEX(CONVERT(%1 USING utf8mb4))").arg(name);
    case ValueForm::Plain:
        break;
    }
    return name;
}

QString readBack(const StoredColumn &column, const QString &variable)
{
    if (column.form == ValueForm::Plain || column.form == ValueForm::Real)
        return variable;
    const QString bytes = QStringLiteral("UNHEX(%1)").arg(variable);
    return column.form == ValueForm::Bytes ? bytes : QStringLiteral("CONVERT(%1 USING utf8mb4)").arg(bytes);
}

} // namespace

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

std::vector<StoredColumn> storedColumns(Connection &connection, const QString &database, const QString &table)
{
    RecordSet rows = connection.execute(
        QStringLiteral(
            "SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_SET_NAME, EXTRA FROM information_schema.COLUMNS "
            "WHERE TABLE_SCHEMA=%1 AND TABLE_NAME=%2 ORDER BY ORDINAL_POSITION")
            .arg(quotedText(database), quotedText(table)));
    std::vector<StoredColumn> columns;
    for (; !rows.isEof(); rows.moveNext()) {
        const QString characterSet = rows.isNull(2) ? QString() : rows.text(2);
        if (!isGenerated(rows.text(3)))
            columns.push_back({rows.text(0), valueForm(rows.text(1).toLower(), characterSet),
                               rows.text(3).contains(u"auto_increment", Qt::CaseInsensitive)});
    }
    if (columns.empty())
        throw Failure(QStringLiteral("テーブル「%1」には値を保存できる列がありません。").arg(table));
    return columns;
}

QString writeRowsStatement(const QString &table, const std::vector<StoredColumn> &columns,
                           const QString &path)
{
    QStringList values;
    for (const StoredColumn &column : columns)
        values << written(column);
    return QStringLiteral("SELECT %1 INTO OUTFILE %2 %3 FROM %4")
        .arg(values.join(QStringLiteral(", ")), quotedText(path), fileFormat(), table);
}

QString readRowsStatement(const QString &table, const std::vector<StoredColumn> &columns, const QString &path)
{
    QStringList targets, settings;
    for (const StoredColumn &column : columns) {
        const QString name = quotedName(column.name);
        // MySQL 5.6 numbers a 0 anew, whatever the mode says, as soon as the statement sets another column.
        if (!column.isNumbered && (column.form == ValueForm::Plain || column.form == ValueForm::Real)) {
            targets << name;
            continue;
        }
        const QString variable = QStringLiteral("@tarnwell_%1").arg(targets.size() + 1);
        targets << variable;
        settings << name + u'=' + readBack(column, variable);
    }
    const QString statement = QStringLiteral("LOAD DATA INFILE ") + quotedText(path) +
                              QStringLiteral(" INTO TABLE ") + table + u' ' + fileFormat() +
                              QStringLiteral(" (") + targets.join(QStringLiteral(", ")) + u')';
    return settings.isEmpty() ? statement
                              : statement + QStringLiteral(" SET ") + settings.join(QStringLiteral(", "));
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

#include "maintenance/backup/rowfile.h"

#include "core/sql/statements.h"

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

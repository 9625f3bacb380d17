#include "maintenance/tablechange/tablechangetext.h"

#include "core/command/storedcolumns.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

namespace {

// Names of statements that are ours alone get the quotes that they may need.
QString quotedList(const QStringList &names)
{
    QStringList list;
    for (const QString &name : names)
        list << quotedName(name);
    return list.join(u',');
}

} // namespace

QString fField_select(const QString &createText)
{
    const QString text = trimmedBlanks(createText);
    const qsizetype create = text.indexOf(QStringLiteral("CREATE"), 0, Qt::CaseInsensitive);
    if (create < 0)
        return {};
    const qsizetype table = text.indexOf(QStringLiteral("TABLE"), create + 6, Qt::CaseInsensitive);
    if (table < 0)
        return {};
    const qsizetype name = table + 5;
    const qsizetype parenthesis = text.indexOf(u'(', name);
    return parenthesis < 0 ? QString() : trimmedBlanks(text.mid(name, parenthesis - name));
}

bool createsTemporaryTable(const QString &createText)
{
    static const QRegularExpression start(QStringLiteral("^\\s*create\\s+(or\\s+replace\\s+)?temporary\\b"),
                                          QRegularExpression::CaseInsensitiveOption);
    return start.match(createText).hasMatch();
}

QString copyName(const QString &database, const QString &table, const QDateTime &now)
{
    return qualifiedName(database, table) + now.toString(QStringLiteral("_yyyyMMddHHmm")) +
           QStringLiteral("zolt");
}

QString commonColumns(const std::vector<FieldRec> &newFields, const std::vector<FieldRec> &oldFields,
                      const QString &editedText)
{
    QString list;
    for (std::size_t j = 1; j < newFields.size(); ++j) {
        if (isGenerated(newFields[j].Extra))
            continue;
        // The old names carry a leading blank.
        const QString name = trimmedBlanks(newFields[j].Field);
        for (std::size_t k = 1; k < oldFields.size(); ++k) {
            if (trimmedBlanks(oldFields[k].Field) == name) {
                list += (editedText.contains(quotedName(name)) ? quotedName(name) : name) + u',';
                break;
            }
        }
    }
    return list;
}

void OldColumns::add(const QString &name, const QString &type, const QString &extra)
{
    const bool isInvisible = extra.contains(u"INVISIBLE", Qt::CaseInsensitive);
    if (isGenerated(extra)) {
        areSpecial = true;
        return;
    }
    stored << name;
    const bool isReal = type.startsWith(u"float") || type.startsWith(u"double");
    values << (isReal ? quotedName(name) + QStringLiteral("*1e0") : quotedName(name));
    if (isInvisible) {
        invisible << name;
        areSpecial = true;
    }
}

bool hasNewCheck(const QString &editedText, const QString &oldText)
{
    static const QRegularExpression check(QStringLiteral("\\bCHECK\\s*(\\((?:[^()]++|(?1))*+\\))"),
                                          QRegularExpression::CaseInsensitiveOption);
    const auto plain = [](QString text) { return text.remove(u'`').remove(u' '); };
    const QString old = plain(oldText);
    for (auto found = check.globalMatch(editedText); found.hasNext();) {
        if (!old.contains(plain(found.next().captured(1))))
            return true;
    }
    return false;
}

QString selectOf(const QString &table, const OldColumns &columns)
{
    const QString more = columns.invisible.isEmpty() ? QString() : u',' + quotedList(columns.invisible);
    return QStringLiteral(" select *") + more + QStringLiteral(" from ") + table;
}

QString copyStatement(const QString &copy, const QString &table, const OldColumns &columns)
{
    return QStringLiteral("create table ") + copy + selectOf(table, columns);
}

QString checksumStatement(const QString &table, const OldColumns &columns)
{
    // Numbers only, so that columns of different character sets stand beside each other.
    QStringList sums;
    for (const QString &value : columns.values)
        sums << QStringLiteral("ifnull(crc32(%1),'-')").arg(value);
    return QStringLiteral("select count(*), sum(crc32(concat_ws(',',%1))) from %2")
        .arg(sums.join(u','), table);
}

QString fillStatement(const QString &table, const QString &copy, const QString &commonColumns)
{
    const QString list = cutAtLastComma(commonColumns) + QStringLiteral("\r\n");
    return QStringLiteral("insert into ") + table + u'(' + list + u')' + QStringLiteral(" select ") + list +
           QStringLiteral(" from ") + copy;
}

QString copyBackStatement(const QString &table, const QString &copy, const OldColumns &columns)
{
    if (!columns.areSpecial)
        return QStringLiteral("insert into ") + table + QStringLiteral(" select * from ") + copy;
    const QString list = quotedList(columns.stored);
    return QStringLiteral("insert into ") + table + u'(' + list + QStringLiteral(") select ") + list +
           QStringLiteral(" from ") + copy;
}

#include "core/command/tablekind.h"

#include "core/command/definition.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

namespace {

bool isOneOf(const QString &engine, const char *names)
{
    return QString::fromLatin1(names).split(u' ').contains(engine, Qt::CaseInsensitive);
}

} // namespace

TableKind tableKind(Connection &connection, const QString &database, const QString &name)
{
    RecordSet rows =
        connection.execute(QStringLiteral("SELECT TABLE_TYPE, ENGINE FROM information_schema.TABLES WHERE "
                                          "TABLE_SCHEMA=%1 AND TABLE_NAME=%2")
                               .arg(quotedText(database), quotedText(name)));
    if (!rows.isOpen() || rows.isEof())
        return {};
    return {rows.text(0), rows.isNull(1) ? QString() : rows.text(1)};
}

QString createText(Connection &connection, const QString &database, const QString &name)
{
    const QString text =
        readDefinition(connection, QStringLiteral("SHOW CREATE TABLE ") + quotedName(database, name)).text;
    if (text.isEmpty())
        throw Failure(QStringLiteral("「%1」の定義を読めません。").arg(name));
    return text;
}

QString engineIn(const QString &createText)
{
    // Behind the columns: a comment of one of them may say anything.
    static const QRegularExpression word(QStringLiteral("\\n\\) ENGINE=(\\w+)"));
    return word.match(createText).captured(1);
}

bool isMerge(const QString &engine)
{
    return isOneOf(engine, "MRG_MyISAM MERGE");
}

bool keepsRowsElsewhere(const QString &engine)
{
    return isMerge(engine) || isOneOf(engine, "FEDERATED SPIDER CONNECT SEQUENCE OQGRAPH SPHINX S3 VP "
                                              "PERFORMANCE_SCHEMA");
}

bool isReplicatedInClusters(const QString &engine)
{
    return isOneOf(engine, "InnoDB XtraDB");
}

#include "maintenance/tablechange/tablechangechecks.h"

#include "core/command/showntext.h"
#include "core/sql/names.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString nothingDone = QStringLiteral("\r\n何も変更していません。");

QString childrenOf(const TableChange &change)
{
    QStringList names;
    for (const Constraint &child : change.children)
        names << child.table;
    names.removeDuplicates();
    return names.join(QStringLiteral(", "));
}

qint64 count(Connection &connection, const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    return rows.isOpen() && !rows.isEof() ? rows.text(0).toLongLong() : 0;
}

} // namespace

QString refusalOfText(const TableChange &change)
{
    if (change.newName.trimmed().isEmpty())
        return QStringLiteral("ﾃｰﾌﾞﾙ名が見つかりません。");
    if (createsTemporaryTable(change.editedText))
        return QStringLiteral("一時ﾃｰﾌﾞﾙには変更できません。");
    // Others may have changed it since; columns that the text does not know would lose their values.
    if (!change.serverText.isEmpty() && !change.isOwnText && !isAsShown(change.serverText, change.shownText))
        return QStringLiteral("ﾃｰﾌﾞﾙの定義は表示した後に変更されています。一覧から選択し直して下さい。");
    return {};
}

QString refusalOfTable(const TableChange &change, const TableKind &kind)
{
    if (kind.type == u"SYSTEM VERSIONED")
        return QStringLiteral("ﾃｰﾌﾞﾙ %1 は履歴(SYSTEM VERSIONING)が失われるため、作り直せません。")
                   .arg(change.oldTable()) +
               nothingDone;
    const bool isBase = kind.type.isEmpty() || kind.type == u"BASE TABLE";
    if (!isBase || keepsRowsElsewhere(kind.engine))
        return QStringLiteral("ﾃｰﾌﾞﾙ %1 の行は別の場所にある(%2)ため、作り直せません。")
                   .arg(change.oldTable(), isBase ? kind.engine : kind.type) +
               nothingDone;
    return {};
}

QString refusalOfChildren(const TableChange &change)
{
    if (change.children.empty())
        return {};
    if (change.isRenamed())
        return QStringLiteral("次のﾃｰﾌﾞﾙが参照しているため、ﾃｰﾌﾞﾙ名は変更できません: ") + childrenOf(change) +
               nothingDone;
    for (const Constraint &child : change.children) {
        for (const QString &quoted : child.referencedColumns()) {
            const QString name = quoted.mid(1, quoted.size() - 2);
            const QRegularExpression word(
                QStringLiteral("(?<![\\w$])%1(?![\\w$])").arg(QRegularExpression::escape(name)),
                QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
            if (!word.match(change.editedText).hasMatch())
                return QStringLiteral("列 %1 は次のﾃｰﾌﾞﾙが参照しているため、削除できません: %2")
                           .arg(name, child.table) +
                       nothingDone;
        }
    }
    return {};
}

void requireValidText(Connection &connection, const TableChange &change)
{
    constexpr int notSupported = 1295;
    const QString text = qualifiedCreateText(change.editedText, change.database, change.newName);
    try {
        connection.execute(QStringLiteral("prepare tarnwell from ") + quotedText(text));
    } catch (const Failure &error) {
        if (error.number() == notSupported)
            return;
        throw;
    }
    connection.execute(QStringLiteral("deallocate prepare tarnwell"));
}

void requireOwnColumns(const TableChange &change, const std::vector<FieldRec> &fields)
{
    for (std::size_t i = 1; i < fields.size(); ++i) {
        const QString name = trimmedBlanks(fields[i].Field);
        if (!change.editedText.contains(quotedName(name)))
            requireBareName(name);
    }
}

bool mayChangeInCluster(Dialogue &dialogue, const TableChange &change, const TableKind &kind,
                        const ServerPlace &place)
{
    if (!place.cluster.isMember() || isReplicatedInClusters(kind.engine))
        return true;
    if (place.cluster.isGroup()) {
        dialogue.refuse(
            QStringLiteral("%1 の行は、グループレプリケーションが受け付けないため、作り直せません。")
                .arg(kind.engine) +
            nothingDone);
        return false;
    }
    const QString why =
        QStringLiteral("%1 の行は他のﾉｰﾄﾞに複製されず、他のﾉｰﾄﾞの行は失われます。").arg(kind.engine);
    return dialogue.warn(QStringLiteral("このサーバーはクラスタ「%1」の一員です。\r\nﾃｰﾌﾞﾙ %2: %3\r\n"
                                        "続けますか？")
                             .arg(place.cluster.name, change.oldTable(), why));
}

QList<qint64> orphansOf(Connection &connection, const TableChange &change)
{
    QList<qint64> orphans;
    for (const Constraint &child : change.children)
        orphans << count(connection, child.orphansStatement(change.database));
    return orphans;
}

void requireNoOrphansOfNewKeys(Connection &connection, const TableChange &change)
{
    if (!change.editedText.contains(u"references", Qt::CaseInsensitive))
        return;
    RecordSet rows = connection.execute(showCreateTable(change.newTable()));
    if (!rows.isOpen() || rows.isEof() || rows.fieldCount() < 2)
        return;
    const auto old = foreignKeysIn(change.oldTable(), change.serverText);
    for (const Constraint &key : foreignKeysIn(change.newTable(), rows.text(1))) {
        const bool isNew = std::ranges::find(old, key.clause, &Constraint::clause) == old.end();
        if (isNew && count(connection, key.orphansStatement(change.database)) > 0)
            throw Failure(QStringLiteral("外部キー %1 に合わない行があります。").arg(key.name));
    }
}

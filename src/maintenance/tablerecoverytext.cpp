#include "maintenance/tablerecoverytext.h"

Rows rowsAt(TableStage stage, bool isInDoubt)
{
    switch (stage) {
    case TableStage::Nothing:
    case TableStage::Copying:
        return Rows::Untouched;
    case TableStage::Dropping:
        return isInDoubt ? Rows::InOldOrCopy : Rows::InOld;
    case TableStage::Creating:
    case TableStage::Filling:
        return Rows::InCopy;
    case TableStage::DroppingCopy:
    case TableStage::Done:
        break;
    }
    return Rows::InNew;
}

bool isOldMissing(Rows rows)
{
    return rows == Rows::InOldOrCopy || rows == Rows::InCopy || rows == Rows::Missing;
}

QString whereRowsAre(const TableChange &change, Rows rows, bool isCopyGone)
{
    const QString old = change.oldTable();
    const QString copyLeft =
        isCopyGone || change.copy.isEmpty()
            ? QString()
            : QStringLiteral("ｺﾋﾟｰ %1 が残っていれば、確認のうえ削除して下さい。").arg(change.copy);
    switch (rows) {
    case Rows::Untouched:
        return QStringLiteral("ﾃｰﾌﾞﾙ %1 は変更されていません。").arg(old) + copyLeft;
    case Rows::InOld:
        return QStringLiteral("ﾃﾞｰﾀはﾃｰﾌﾞﾙ %1 にあります。").arg(old) + copyLeft;
    case Rows::InNew:
        return changeIsDone(change) + copyLeft;
    case Rows::InOldOrCopy:
        return QStringLiteral("ﾃﾞｰﾀはﾃｰﾌﾞﾙ %1 か、それがなければｺﾋﾟｰ %2 にあります。").arg(old, change.copy);
    case Rows::InCopy:
        return QStringLiteral("ﾃｰﾌﾞﾙ %1 を元に戻せませんでした。ﾃﾞｰﾀはｺﾋﾟｰ %2 にあります。")
            .arg(old, change.copy);
    case Rows::Missing:
        break;
    }
    return QStringLiteral("ﾃｰﾌﾞﾙ %1 もｺﾋﾟｰ %2 も見つかりません。").arg(old, change.copy);
}

QString changeIsDone(const TableChange &change)
{
    return QStringLiteral("ﾃｰﾌﾞﾙの変更は済んでいます。ﾃﾞｰﾀはﾃｰﾌﾞﾙ %1 にあります。").arg(change.newTable());
}

QString newTableIsLeft(const TableChange &change)
{
    return QStringLiteral("途中まで作成した新しいﾃｰﾌﾞﾙ %1 が残っています。").arg(change.newTable());
}

QString copyIsLeft(const TableChange &change)
{
    return QStringLiteral("ﾃｰﾌﾞﾙ %1 は変更されていません。ｺﾋﾟｰ %2 が残っています。")
        .arg(change.oldTable(), change.copy);
}

QString oldDefinition(const TableChange &change)
{
    QStringList lines{QStringLiteral("元の定義:"),
                      change.serverText.isEmpty() ? change.shownText : change.serverText};
    for (const Trigger &trigger : change.triggers)
        lines << createTriggerStatement(trigger, change.database, change.oldTable());
    return lines.join(u'\n');
}

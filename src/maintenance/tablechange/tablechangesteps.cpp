#include "maintenance/tablechange/tablechangesteps.h"

namespace {

// What the user is told where a change ends half-way.
QString unchanged(const TableChange &change)
{
    return QStringLiteral("ﾃｰﾌﾞﾙ %1 は変更されていません。").arg(change.oldTable());
}
QString copyMayBeLeft(const TableChange &change)
{
    return QStringLiteral("ｺﾋﾟｰ %1 が残っていれば、確認のうえ削除して下さい。").arg(change.copy);
}
QString isNotUndone(const TableChange &change)
{
    return QStringLiteral("ﾃｰﾌﾞﾙ %1 を元に戻せませんでした。").arg(change.oldTable());
}
QString rowsAreInCopy(const TableChange &change)
{
    return QStringLiteral("ﾃﾞｰﾀはｺﾋﾟｰ %1 にあります。").arg(change.copy);
}
QString rowsAreInOldOrCopy(const TableChange &change)
{
    return QStringLiteral("ﾃﾞｰﾀはﾃｰﾌﾞﾙ %1 か、それがなければｺﾋﾟｰ %2 にあります。")
        .arg(change.oldTable(), change.copy);
}
QString changeIsDone(const TableChange &change)
{
    return QStringLiteral("ﾃｰﾌﾞﾙの変更は済んでいます。ﾃﾞｰﾀはﾃｰﾌﾞﾙ %1 にあります。").arg(change.newTable());
}
QString newTableIsLeft(const TableChange &change)
{
    return QStringLiteral("途中まで作成した新しいﾃｰﾌﾞﾙ %1 が残っています。").arg(change.newTable());
}

QString showTable(const TableChange &change)
{
    return showCreateTable(change.oldTable());
}

Question hasRowsOf(const QString &table, const QString &other)
{
    return {QStringLiteral("select 1 from dual where (select count(*) from %1) >= (select count(*) from %2)")
                .arg(table, other)};
}

// The name of the one that holds what others have written into the new table.
QString restOf(const TableChange &change)
{
    return qualifiedName(change.database, change.bareCopy().chopped(4) + QStringLiteral("rest"));
}

// Others may have written into the new table: it is put aside as a whole, and dropped only when all its rows
// are those of the copy.
WayBack putAside(const TableChange &change)
{
    constexpr int noSuchTable = 1146;
    WayBack aside;
    aside.statement = QStringLiteral("rename table %1 to %2").arg(change.newTable(), restOf(change));
    aside.nothingThere = noSuchTable;
    // Prescribed: the drop that follows finds nothing any more, unless the account may not rename.
    aside.lost = QStringLiteral("変更中に他の接続が書き込んだ行は、失われた可能性があります。");
    return aside;
}

// The foreign keys of other tables follow a table to its other name, also with their checks off, and would
// then refer to none; where one is dropped, they wait for the next of its name. And its own foreign keys and
// checks take along names that a database has once.
bool isTied(const TableChange &change)
{
    const QString texts = change.serverText + change.editedText;
    return !change.children.empty() || texts.contains(u"constraint", Qt::CaseInsensitive) ||
           texts.contains(u"references", Qt::CaseInsensitive);
}

WayBack copyRest(const TableChange &change)
{
    constexpr int tableExists = 1050;
    WayBack rest;
    rest.statement =
        QStringLiteral("create table %1 select * from %2").arg(restOf(change), change.newTable());
    rest.when.statement = QStringLiteral("select 1 from dual where (select count(*) from %1) not in "
                                         "(0, (select count(*) from %2))")
                              .arg(change.newTable(), change.copy);
    rest.isAlwaysAsked = true;
    rest.nothingThere = tableExists; // an undoing that was begun before has made it
    return rest;
}

std::vector<WayBack> dropNewTable(const TableChange &change)
{
    constexpr int unknownTable = 1051;
    WayBack use, drop, dropRest;
    // The name that follows is not qualified: it must not hit a table of another database.
    use.statement = useStatement(change.database);
    drop.statement = QStringLiteral("drop table ") + change.oldName;
    drop.nothingThere = unknownTable;
    drop.needs = isThere(showCreateTable(change.copy));
    if (change.isRenamed()) {
        drop.remark = newTableIsLeft(change);
        return {use, drop};
    }
    dropRest.statement = QStringLiteral("drop table if exists ") + restOf(change);
    dropRest.isAlwaysAsked = true;
    dropRest.notSent =
        QStringLiteral("変更中に他の接続が書き込んだ行が、ﾃｰﾌﾞﾙ %1 に残っています。").arg(restOf(change));
    if (isTied(change)) {
        dropRest.when = isMissing(showCreateTable(restOf(change)));
        return {use, copyRest(change), drop, dropRest};
    }
    dropRest.when.statement = QStringLiteral("select 1 from dual where (select count(*) from %1) in "
                                             "(0, (select count(*) from %2))")
                                  .arg(restOf(change), change.copy);
    return {use, putAside(change), drop, dropRest};
}

WayBack makeOldTable(const TableChange &change)
{
    WayBack make;
    const QString quoted = quotedName(change.oldName);
    make.statement =
        qualifiedCreateText(change.shownText, change.database, change.isOwnText ? quoted : change.oldName);
    if (change.serverText.isEmpty())
        return make;
    // The text that was shown has lost its backticks, and with them names like `order`.
    make.otherwise = qualifiedCreateText(change.serverText, change.database, quoted);
    make.text = change.serverText;
    make.show = showTable(change);
    make.drop = QStringLiteral("drop table ") + change.oldTable();
    return make;
}

} // namespace

Step copyStep(const TableChange &change)
{
    Step step;
    step.statement = copyStatement(change.copy, change.oldTable(), change.columns);
    step.isDone = step.holds = isThere(showCreateTable(change.copy));
    step.untilUndone = unchanged(change) + copyMayBeLeft(change);
    if (!change.isOursToMakeAgain)
        return step;
    WayBack drop;
    drop.statement = QStringLiteral("drop table ") + change.copy;
    drop.when = step.isDone;
    drop.needs = hasRowsOf(change.oldTable(), change.copy);
    step.back = {drop};
    return step;
}

Step lockStep(const TableChange &change, const QString &table)
{
    Step step;
    step.statement = QStringLiteral("lock tables %1 write, %2 write").arg(table, change.copy);
    step.isOfSession = true;
    WayBack unlock;
    unlock.statement = QStringLiteral("unlock tables");
    step.back = {unlock};
    return step;
}

std::vector<Step> barSteps(const TableChange &change)
{
    std::vector<Step> steps;
    for (const QString &event :
         {QStringLiteral("insert"), QStringLiteral("update"), QStringLiteral("delete")}) {
        const QString stamp = change.bareCopy().chopped(4).mid(change.oldName.size());
        const QString trigger = quotedName(change.database, change.oldName.left(40) + stamp + u'_' + event);
        Step step;
        step.statement =
            QStringLiteral("create trigger %1 before %2 on %3 for each row signal sqlstate '45000' "
                           "set message_text='This table is being changed.'")
                .arg(trigger, event, change.oldTable());
        step.untilUndone =
            QStringLiteral("ﾃｰﾌﾞﾙ %1 は変更されていません。ﾄﾘｶﾞｰ %2 が残っていれば、削除して下さい。")
                .arg(change.oldTable(), trigger);
        WayBack drop;
        drop.statement = QStringLiteral("drop trigger if exists ") + trigger;
        step.back = {drop};
        steps.push_back(step);
    }
    return steps;
}

QStringList copyAgainStatements(const TableChange &change)
{
    return {QStringLiteral("truncate table ") + change.copy,
            QStringLiteral("insert into ") + change.copy + selectOf(change.oldTable(), change.columns)};
}

Step dropStep(const TableChange &change)
{
    Step step;
    step.statement = QStringLiteral("drop table ") + change.oldTable();
    step.isDone = isMissing(showTable(change));
    step.untilUndone = rowsAreInCopy(change);
    step.notUndone = isNotUndone(change);
    step.inDoubt = rowsAreInOldOrCopy(change);
    if (!change.isOursToMakeAgain)
        return step;
    WayBack dropHalf, fill;
    dropHalf.statement = step.statement;
    dropHalf.isForDoubt = true;
    dropHalf.when = isThere(showTable(change));
    dropHalf.needs = isThere(showCreateTable(change.copy));
    fill.statement = copyBackStatement(change.oldTable(), change.copy, change.columns);
    step.back = {dropHalf, makeOldTable(change), fill};
    for (const Trigger &trigger : change.triggers)
        step.back.push_back(makeTriggerAgain(trigger, change.database, change.oldName));
    return step;
}

Step createStep(const TableChange &change)
{
    Step step;
    step.statement = qualifiedCreateText(change.editedText, change.database, change.newName);
    step.isDone = isThere(showCreateTable(change.newTable()));
    if (!change.isOursToMakeAgain)
        return step;
    step.back = dropNewTable(change);
    return step;
}

Step fillStep(const TableChange &change, const QString &commonColumns)
{
    Step step;
    step.statement = fillStatement(change.newTable(), change.copy, commonColumns);
    step.isDone = step.holds = hasRowsOf(change.newTable(), change.copy);
    return step;
}

Step dropCopyStep(const TableChange &change)
{
    Step step;
    step.statement = QStringLiteral("drop table ") + change.copy;
    step.isDone = isMissing(showCreateTable(change.copy));
    step.completes = step.isRepeated = true;
    step.onceDone = changeIsDone(change);
    step.untilUndone = changeIsDone(change) + copyMayBeLeft(change);
    return step;
}

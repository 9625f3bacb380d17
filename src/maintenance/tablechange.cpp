#include "maintenance/tablechange.h"

#include "core/sql/names.h"
#include "core/statements.h"
#include "maintenance/tablechangesettings.h"
#include "maintenance/tablerecovery.h"
#include "maintenance/viewchange.h"

namespace {

struct ObjectText {
    ObjectKind kind = ObjectKind::Table; // also when the server gives no row
    QString serverText;
};

ObjectText readObject(Session &session, const QString &showStatement)
{
    ObjectText object;
    RecordSet &rows = session.gRs;
    rows = session.connection().execute(showStatement);
    if (!rows.isOpen() || rows.isEof())
        return object;
    const QString kind = trimmedBlanks(rows.fieldName(0));
    if (kind != u"Table")
        object.kind = kind == u"View" ? ObjectKind::View : ObjectKind::Other;
    if (rows.fieldCount() > 1 && !rows.isNull(1))
        object.serverText = rows.text(1);
    rows.close();
    return object;
}

// Reads the old table's columns where the text says that there are special ones, or where gOldFields cannot
// be all of them: a column that is missing there would lose its values.
void completeOldColumns(Session &session, TableChange &change, bool wasLimited)
{
    std::vector<FieldRec> &fields = session.gOldFields;
    const bool isComplete =
        !wasLimited && columnCount(change.serverText) == static_cast<qsizetype>(fields.size()) - 1;
    if (isComplete && !mayHaveSpecialColumns(change.serverText))
        return;
    RecordSet rows =
        session.connection().execute(QStringLiteral("show full fields from ") + change.oldTable() + u';');
    if (!isComplete)
        fields.assign(1, FieldRec());
    for (; !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(QStringLiteral("Field"));
        change.columns.add(name, rows.text(QStringLiteral("Extra")));
        if (!isComplete)
            fields.push_back({u' ' + name, {}, {}, {}, {}, {}, {}});
    }
}

FieldRec fieldRecord(const RecordSet &rows)
{
    FieldRec record;
    for (int i = 0; i < rows.fieldCount(); ++i) {
        const QString &name = rows.fieldName(i);
        const QString value = rows.isNull(i) ? QString() : rows.text(i);
        if (name == u"Field")
            record.Field = value;
        else if (name == u"Type")
            record.Type = value;
        else if (name == u"Nul") // deliberate: the server's column is "Null", so the member stays empty
            record.Null = value;
        else if (name == u"Key")
            record.Key = value;
        else if (name == u"Default")
            record.Default = value;
        else if (name == u"Extra")
            record.Extra = value;
        else if (name == u"Privileges")
            record.Privileges = value;
    }
    return record;
}

void readNewFields(Session &session, const TableChange &change)
{
    RecordSet &rows = session.gRs;
    rows = session.connection().execute(QStringLiteral("show full fields from ") + change.newTable() + u';');
    session.gNewFields.assign(1, FieldRec());
    for (; !rows.isEof(); rows.moveNext())
        session.gNewFields.push_back(fieldRecord(rows));
    rows.close();
}

// Their names stand bare in the list of columns: rows would go into other columns, or be left out.
void requireOwnColumns(const std::vector<FieldRec> &fields)
{
    for (std::size_t i = 1; i < fields.size(); ++i) {
        const QString name = fields[i].Field.mid(1); // behind the blank that is ours
        requireBareName(name);
    }
}

// Table 1 to table 6: the stage always says what is being tried.
void rebuildTable(CommandContext &context, TableChange &change)
{
    Session &session = context.session;
    change.stage = TableStage::Copying;
    change.copy = copyName(change.database, change.oldName, QDateTime::currentDateTime());
    context.dialogue.progress(5, 0);
    SessionSettings settings(session.connection());
    const bool wasLimited = settings.liftLimit();
    change.triggers = readTriggers(session.connection(), change.database, change.oldName);
    completeOldColumns(session, change, wasLimited);
    requireOwnColumns(session.gOldFields);
    session.connection().execute(copyStatement(change.copy, change.oldTable(), change.columns));

    change.stage = TableStage::Dropping;
    context.dialogue.progress(5, 1);
    session.connection().execute(QStringLiteral("drop table ") + change.oldTable());

    change.stage = TableStage::Creating;
    context.dialogue.progress(5, 2);
    session.connection().execute(
        qualifiedCreateText(context.selection.txtField, change.database, change.newName));

    change.stage = TableStage::Filling;
    context.dialogue.progress(5, 3);
    readNewFields(session, change);
    if (const QString columns = commonColumns(session.gNewFields, session.gOldFields); !columns.isEmpty())
        copyRows(session.connection(), fillStatement(change.newTable(), change.copy, columns),
                 hasAutoIncrement(context.selection.txtField));

    change.stage = TableStage::DroppingCopy;
    context.dialogue.progress(5, 4);
    session.connection().execute(QStringLiteral("drop table ") + change.copy);
    change.stage = TableStage::Done;
    context.dialogue.progress(5, 5);
}

} // namespace

Outcome changeTable(CommandContext &context)
{
    const Selection &selection = context.selection;
    if (trimmedBlanks(selection.txtField).isEmpty()) {
        context.dialogue.inform(QStringLiteral("ﾃｰﾌﾞﾙを選択して下さい。"));
        return {};
    }
    if (!context.dialogue.confirm(selection.lblTableName + QStringLiteral("ﾃｰﾌﾞﾙを変更します。"),
                                  Icon::Critical))
        return {};

    const BusyPointer busy(context.dialogue);
    TableChange change;
    change.database = context.session.gDbName;
    change.oldName = selection.lblTableName;
    change.newName = fField_select(selection.txtField);
    change.shownText = selection.lblCreateTable;
    try {
        requireOwnName(change.database, change.oldName);
        const QString showStatement = showCreateTable(change.oldTable());
        const ObjectText object = readObject(context.session, showStatement);
        if (object.kind == ObjectKind::View)
            return changeView(context, showStatement, object.serverText);
        change.kind = object.kind;
        change.serverText = object.serverText;
        if (change.newName.trimmed().isEmpty()) {
            context.dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙ名が見つかりません。"));
            return {};
        }
        if (createsTemporaryTable(selection.txtField)) {
            context.dialogue.refuse(QStringLiteral("一時ﾃｰﾌﾞﾙには変更できません。"));
            return {};
        }
        // Others may have changed it since; columns that the text does not know would lose their values.
        if (!change.serverText.isEmpty() && !isAsShown(change.serverText, change.shownText)) {
            context.dialogue.refuse(
                QStringLiteral("ﾃｰﾌﾞﾙの定義は表示した後に変更されています。一覧から選択し直して下さい。"));
            return {};
        }
        rebuildTable(context, change);
    } catch (const SqlError &error) {
        return endFailedChange(context, error,
                               [&](Doubt doubt) { return recoverTable(context.session, change, doubt); });
    }
    return endChange(
        context, remakeTriggers(context.session, change.triggers, change.bareNewName(), change.newTable()));
}

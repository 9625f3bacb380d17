#include "maintenance/backup/scriptbackup.h"

#include "core/command/definition.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/backup/objectfile.h"
#include "maintenance/batch.h"
#include "maintenance/routines.h"

namespace {

// Writes the files of one run. Text and kind word outlive their object: where the server gives nothing for
// the next one, they are written again under its name.
class ScriptWriter {
public:
    ScriptWriter(CommandContext &context, const QString &folder)
        : m_context(context)
        , m_database(context.session.gDbName)
        , m_folder(folder)
    {
    }
    void writeTable(const ListItem &item);
    void writeRoutine(const ListItem &item);
    const QString &folder() const { return m_folder; }

private:
    ObjectDefinition read(const QString &showStatement)
    {
        return readDefinition(m_context.session.connection(), showStatement);
    }
    void write(const QString &name);

    CommandContext &m_context;
    QString m_database;
    QString m_folder;
    QString m_text, m_kindWord, m_routineStatement;
};

void ScriptWriter::writeTable(const ListItem &item)
{
    if (item.isError())
        return;
    requireOwnName(m_database, item.name);
    const ObjectDefinition definition = read(showCreateTable(qualifiedName(m_database, item.name)));
    if (!definition.kind.isEmpty()) {
        if (definition.kind == u"Table")
            m_kindWord = QStringLiteral("table");
        else if (definition.kind == u"View")
            m_kindWord = QStringLiteral("view");
        m_text = shownCreateText(definition.kind, definition.text);
    }
    write(item.name);
}

void ScriptWriter::writeRoutine(const ListItem &item)
{
    if (item.tag == u"[PROC]") {
        m_kindWord = QStringLiteral("proc");
        m_routineStatement = QStringLiteral("show create procedure ");
    } else if (item.tag == u"[FUNC]") {
        m_kindWord = QStringLiteral("func");
        m_routineStatement = QStringLiteral("show create function ");
    }
    if (item.tag == u"[PROC]" || item.tag == u"[FUNC]")
        m_routineStatement += qualifiedName(m_database, item.name) + u';';
    if (m_routineStatement.isEmpty())
        return;
    requireOwnName(m_database, item.name);

    const ObjectDefinition definition = read(m_routineStatement);
    if (definition.kind.isEmpty())
        return;
    // Whoever may run a routine without owning it is given NULL: a file that reads NULL is no backup.
    if (definition.text.isEmpty())
        throw Failure(QStringLiteral("「%1」の定義を読む権限がありません。").arg(item.name));
    m_text = shownRoutineText(definition.text);
    write(item.name);
}

void ScriptWriter::write(const QString &name)
{
    m_folder = withSeparator(m_folder);
    const QString path = objectFile(m_folder, name, u'.' + m_kindWord);
    writeWholeFile(path, (m_text + QStringLiteral("\r\n")).toUtf8());
}

// Gives the folder in the words of the closing message.
QString writeScripts(CommandContext &context, const QString &folder)
{
    const QStringList &tables = context.selection.tables;
    const QStringList &routines = context.selection.routines;
    const int total = static_cast<int>(tables.size() + routines.size());
    int current = 0;
    ScriptWriter writer(context, folder);
    const BusyPointer busy(context.dialogue);

    context.dialogue.progress(total, current);
    for (const QString &text : tables) {
        context.dialogue.progress(total, ++current);
        context.session.requireGoingOn();
        writer.writeTable(ListItem::parse(text));
    }
    for (const QString &text : routines) {
        context.dialogue.progress(total, ++current);
        context.session.requireGoingOn();
        writer.writeRoutine(ListItem::parse(text));
    }
    return writer.folder();
}

} // namespace

Outcome backUpScripts(CommandContext &context)
{
    Dialogue &dialogue = context.dialogue;
    try {
        if (context.selection.lblPreTable.isEmpty()) {
            dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
            return {};
        }
        QString folder =
            dialogue.chooseFolder(QStringLiteral("ｸﾘｴｲﾄScriptの保存先のﾌｫﾙﾀﾞを選択して下さい。"), QString());
        if (trimmedBlanks(folder).isEmpty())
            return {};
        folder = writeScripts(context, folder);
        dialogue.progressBar(1);
        dialogue.inform(QStringLiteral("「") + folder + QStringLiteral("」にﾊﾞｯｸｱｯﾌﾟしました。"));
    } catch (const Failure &error) {
        context.session.gRs.close();
        reportFailure(dialogue, error);
    }
    return {};
}

#include "server/variables/variablereading.h"

#include "core/command/script.h"
#include "core/sql/statements.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <map>

namespace {

using Variables = std::map<QString, Variable>;

std::optional<QString> textOf(const RecordSet &rows, const QString &field)
{
    const int index = rows.requiredField(field);
    return rows.isNull(index) ? std::optional<QString>() : rows.text(index);
}

// What the server does not know or does not show is left out.
RecordSet tried(Connection &connection, const QString &statement)
{
    try {
        return connection.execute(statement);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        return {};
    }
}

Variable::Kind kindOf(const QString &type)
{
    static const QRegularExpression number(QStringLiteral("INT|NUMERIC|DOUBLE"),
                                           QRegularExpression::CaseInsensitiveOption);
    return number.match(type).hasMatch() ? Variable::Kind::Number : Variable::Kind::Text;
}

QString originText(const QString &origin)
{
    static const std::map<QString, QString> words{{"COMPILE-TIME", QStringLiteral("既定値")},
                                                  {"COMPILED", QStringLiteral("既定値")},
                                                  {"CONFIG", QStringLiteral("設定ファイル")},
                                                  {"GLOBAL", QStringLiteral("設定ファイル")},
                                                  {"SERVER", QStringLiteral("設定ファイル")},
                                                  {"EXPLICIT", QStringLiteral("設定ファイル")},
                                                  {"EXTRA", QStringLiteral("設定ファイル")},
                                                  {"USER", QStringLiteral("設定ファイル")},
                                                  {"LOGIN", QStringLiteral("設定ファイル")},
                                                  {"COMMAND-LINE", QStringLiteral("コマンドライン")},
                                                  {"AUTO", QStringLiteral("自動")},
                                                  {"COMMAND_LINE", QStringLiteral("コマンドライン")},
                                                  {"PERSISTED", QStringLiteral("SET PERSIST")},
                                                  {"ENVIRONMENT", QStringLiteral("環境変数")},
                                                  {"SQL", QStringLiteral("SET")},
                                                  {"DYNAMIC", QStringLiteral("SET")}};
    const auto found = words.find(origin);
    return found == words.end() ? origin : found->second;
}

QString rangeText(const QString &least, const QString &most)
{
    return least.isEmpty() || least == most ? QString() : least + QStringLiteral(" ～ ") + most;
}

QString joined(const QStringList &parts)
{
    QStringList said = parts;
    said.removeAll(QString());
    return said.join(QStringLiteral("。"));
}

// MariaDB, since 10.1, tells everything in one table.
void readCatalogue(RecordSet rows, Variables &variables)
{
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        Variable each;
        each.name = rows.text(QStringLiteral("variable_name")).toLower();
        each.session = textOf(rows, QStringLiteral("session_value"));
        each.global = textOf(rows, QStringLiteral("global_value"));
        each.preset = textOf(rows, QStringLiteral("default_value"));
        const QString origin = rows.text(QStringLiteral("global_value_origin"));
        if (each.global) {
            each.origin = originText(origin);
            each.isChanged = origin != u"COMPILE-TIME" && origin != u"AUTO" && each.global != each.preset;
        }
        const QString type = rows.text(QStringLiteral("variable_type"));
        each.kind = kindOf(type);
        each.isReadOnly = rows.text(QStringLiteral("read_only")) == u"YES";
        each.about = joined({type,
                             rangeText(textOf(rows, QStringLiteral("numeric_min_value")).value_or(QString()),
                                       textOf(rows, QStringLiteral("numeric_max_value")).value_or(QString())),
                             textOf(rows, QStringLiteral("enum_value_list")).value_or(QString()),
                             textOf(rows, QStringLiteral("variable_comment")).value_or(QString())});
        variables[each.name] = each;
    }
}

void readValues(Connection &connection, const QString &statement, std::optional<QString> Variable::*value,
                Variables &variables)
{
    for (RecordSet rows = connection.execute(statement); !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(0).toLower();
        variables[name].name = name;
        variables[name].*value = rows.text(1);
    }
}

// DYNAMIC is whatever somebody set, also for his own session alone, and what the server set for itself. Who
// it was is NULL then.
void noteSetting(const RecordSet &rows, Variable &variable)
{
    const std::optional<QString> user = textOf(rows, QStringLiteral("set_user"));
    if (!user) {
        variable.origin = QStringLiteral("自動");
        return;
    }
    variable.isChanged = !variable.session;
    variable.mayBeChanged = variable.session.has_value();
    variable.about =
        joined({variable.about, QStringLiteral("最後の SET: %1@%2、%3")
                                    .arg(*user, textOf(rows, QStringLiteral("set_host")).value_or(QString()),
                                         rows.text(QStringLiteral("set_time")).section(u'.', 0, 0))});
}

// MySQL 8 and later say where a value comes from; one that was compiled in is the default one.
bool readOrigins(Connection &connection, Variables &variables)
{
    bool isTold = false;
    RecordSet rows = tried(connection, QStringLiteral("select * from performance_schema.variables_info"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const auto found = variables.find(rows.text(QStringLiteral("variable_name")).toLower());
        if (found == variables.end() || !found->second.global)
            continue;
        isTold = true;
        Variable &each = found->second;
        const QString source = rows.text(QStringLiteral("variable_source"));
        each.origin = originText(source);
        each.about = joined({each.about,
                             rangeText(textOf(rows, QStringLiteral("min_value")).value_or(QString()),
                                       textOf(rows, QStringLiteral("max_value")).value_or(QString())),
                             textOf(rows, QStringLiteral("variable_path")).value_or(QString())});
        if (source == u"COMPILED")
            each.preset = each.global;
        else if (source == u"DYNAMIC")
            noteSetting(rows, each);
        else
            each.isChanged = true;
    }
    return isTold;
}

// MySQL 9 describes its variables.
void readDescriptions(Connection &connection, Variables &variables)
{
    RecordSet rows = tried(connection, QStringLiteral("select * from performance_schema.variables_metadata"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const auto found = variables.find(rows.text(QStringLiteral("variable_name")).toLower());
        if (found == variables.end())
            continue;
        Variable &each = found->second;
        each.kind = kindOf(rows.text(QStringLiteral("data_type")));
        if (rows.text(QStringLiteral("variable_scope")) == u"GLOBAL")
            each.session.reset(); // SHOW repeats the global value there
        each.about =
            joined({rows.text(QStringLiteral("data_type")), rows.text(QStringLiteral("documentation"))});
    }
}

QString scopeWord(VariableScope scope)
{
    switch (scope) {
    case VariableScope::Session:
        return QStringLiteral("SESSION");
    case VariableScope::Global:
        return QStringLiteral("GLOBAL");
    case VariableScope::Persist:
        return QStringLiteral("PERSIST");
    case VariableScope::PersistOnly:
        break;
    }
    return QStringLiteral("PERSIST_ONLY");
}

void requireVariableName(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_$]+(\\.[A-Za-z0-9_$]+)?\\z"));
    if (!plain.match(name).hasMatch())
        throw Failure(QStringLiteral("変数の名前ではありません: ") + name);
}

bool isNumber(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("\\A-?\\d+(\\.\\d+)?\\z"));
    return number.match(text).hasMatch();
}

// A number that was typed where a text belongs is refused by the server, and the other way round.
QString literalOf(const VariableList &list, const Variable &variable, const QString &value)
{
    const bool takesNumbers =
        variable.kind == Variable::Kind::Unknown
            ? isNumber(variable.global ? *variable.global : variable.session.value_or(value))
            : variable.kind == Variable::Kind::Number;
    if (takesNumbers && isNumber(value))
        return value;
    return list.escapes ? quotedText(value)
                        : u'\'' + QString(value).replace(u'\'', QStringLiteral("''")) + u'\'';
}

} // namespace

VariableList readVariables(Connection &connection)
{
    VariableList list;
    Variables variables;
    const ServerInfo server = connection.server();
    if (server.isMariaDb)
        readCatalogue(tried(connection, QStringLiteral("select * from information_schema.system_variables")),
                      variables);
    list.tellsPresets = !variables.empty();
    if (variables.empty()) {
        readValues(connection, QStringLiteral("show session variables"), &Variable::session, variables);
        readValues(connection, QStringLiteral("show global variables"), &Variable::global, variables);
    }
    if (!server.isMariaDb && server.number >= 80000) {
        list.hasPersist = true;
        readDescriptions(connection, variables); // first: whether a variable has a value for each session
        list.tellsPresets = readOrigins(connection, variables);
    }
    list.escapes = !sqlModeOf(connection).hasPlainBackslashes;
    // The only password that servers show in one.
    if (const auto secret = variables.find(QStringLiteral("report_password"));
        secret != variables.end() && !secret->second.global.value_or(QString()).isEmpty())
        secret->second.global = QStringLiteral("***");
    for (auto &[name, variable] : variables)
        list.variables.push_back(std::move(variable));
    return list;
}

const Variable *variableOf(const VariableList &list, const QString &name)
{
    const auto found = std::ranges::lower_bound(list.variables, name, {}, &Variable::name);
    return found == list.variables.end() || found->name != name ? nullptr : &*found;
}

QString setVariableStatement(VariableScope scope, const VariableList &list, const Variable &variable,
                             const std::optional<QString> &value)
{
    requireVariableName(variable.name);
    return QStringLiteral("SET %1 %2 = ").arg(scopeWord(scope), variable.name) +
           (value ? literalOf(list, variable, *value) : QStringLiteral("DEFAULT"));
}

std::optional<QString> readVariable(Connection &connection, VariableScope scope, const QString &name)
{
    requireVariableName(name);
    QString question =
        QStringLiteral("select @@%1.%2").arg(scope == VariableScope::Session ? "session" : "global", name);
    if (scope == VariableScope::PersistOnly)
        question = QStringLiteral("select variable_value from performance_schema.persisted_variables "
                                  "where variable_name = '%1'")
                       .arg(name);
    RecordSet rows = connection.execute(question);
    return rows.isEof() || rows.isNull(0) ? std::optional<QString>() : rows.text(0);
}

QString readWarnings(Connection &connection)
{
    QStringList lines; // MySQL 8 and 9 refuse to tell over ODBC
    for (RecordSet rows = tried(connection, QStringLiteral("show warnings")); rows.isOpen() && !rows.isEof();
         rows.moveNext())
        lines << rows.text(QStringLiteral("message"));
    return lines.join(u'\n');
}

QString exportText(const std::vector<const Variable *> &variables)
{
    const auto cell = [](QString text) {
        return text.replace(u'\\', QStringLiteral("\\\\"))
            .replace(u'\t', QStringLiteral("\\t"))
            .replace(u'\r', QStringLiteral("\\r"))
            .replace(u'\n', QStringLiteral("\\n"));
    };
    QStringList lines{QStringLiteral("variable\tsession\tglobal\tdefault\torigin")};
    for (const Variable *each : variables)
        lines << QStringList{each->name, cell(each->session.value_or(QString())),
                             cell(each->global.value_or(QString())), cell(each->preset.value_or(QString())),
                             each->origin}
                     .join(u'\t');
    return lines.join(u'\n') + u'\n';
}

#include "structure/search/namesearch.h"

#include "structure/search/searchtext.h"

#include <array>
#include <iterator>

namespace {

using Kind = SearchHit::Kind;

// One list of the server's catalogue and what of its rows is looked into; empty: it has none.
struct Catalogue {
    const char *from;   // beneath information_schema
    const char *kind;   // an expression that gives the kind's word
    const char *schema; // columns
    const char *object;
    const char *name;
    const char *comment;
    const char *text;
};

// Tables by name come first: MariaDB opens the file of each table that it is to tell more of.
constexpr Catalogue catalogues[] = {
    {"schemata", "'DATABASE'", "schema_name", "schema_name", "schema_name", "", ""},
    {"tables", "table_type", "table_schema", "table_name", "table_name", "", ""},
    {"routines", "routine_type", "routine_schema", "routine_name", "routine_name", "routine_comment",
     "routine_definition"},
    {"events", "'EVENT'", "event_schema", "event_name", "event_name", "event_comment", "event_definition"},
    // In its table's schema; MariaDB 10.11 goes through all databases for trigger_schema.
    {"triggers", "'TRIGGER'", "event_object_schema", "event_object_table", "trigger_name", "",
     "action_statement"},
    {"views", "'VIEW'", "table_schema", "table_name", "", "", "view_definition"},
    {"columns", "'COLUMN'", "table_schema", "table_name", "column_name", "column_comment", ""},
    {"statistics", "'INDEX'", "table_schema", "table_name", "index_name", "index_comment", ""},
    {"tables", "table_type", "table_schema", "table_name", "", "table_comment", ""},
};

constexpr std::pair<const char *, Kind> kinds[] = {
    {"DATABASE", Kind::Database}, {"VIEW", Kind::View},       {"SYSTEM VIEW", Kind::View},
    {"COLUMN", Kind::Column},     {"INDEX", Kind::Index},     {"PROCEDURE", Kind::Procedure},
    {"FUNCTION", Kind::Function}, {"TRIGGER", Kind::Trigger}, {"EVENT", Kind::Event},
};

Kind kindOf(const QString &word)
{
    for (const auto &[name, kind] : kinds)
        if (word == QLatin1String(name))
            return kind;
    return Kind::Table; // BASE TABLE, SEQUENCE, SYSTEM VERSIONED
}

QString whereOf(const Catalogue &catalogue, const QString &database)
{
    const QString schema = QLatin1String(catalogue.schema);
    QString where = database.isEmpty()
                        ? schema + QStringLiteral(" not in ('information_schema', 'performance_schema', "
                                                  "'mysql', 'sys')")
                        : schema + u'=' + textLiteral(database);
    if (QLatin1String(catalogue.from) == QLatin1String("statistics"))
        where += QStringLiteral(" and seq_in_index=1");
    return where;
}

QString statementFor(const Catalogue &catalogue, const QString &text, const QString &database)
{
    const auto found = [&](const char *column) {
        return *column ? holdsText(QLatin1String(column), text) : QString();
    };
    QStringList conditions;
    for (const char *column : {catalogue.name, catalogue.comment, catalogue.text})
        if (*column)
            conditions << found(column);
    const auto excerpt = [&](const char *column) {
        return *column ? QStringLiteral("if(%1, %2, null)")
                             .arg(found(column), excerptAround(QLatin1String(column), text))
                       : QStringLiteral("null");
    };
    const QString name = QLatin1String(*catalogue.name ? catalogue.name : catalogue.object);
    return QStringLiteral("select %1, %2, %3, %4, %5, %6, %7 from information_schema.%8 where %9 and (%10) "
                          "order by char_length(%4), %2, %3, %4 limit %11")
        .arg(QLatin1String(catalogue.kind), QLatin1String(catalogue.schema), QLatin1String(catalogue.object),
             name, *catalogue.name ? found(catalogue.name) : QStringLiteral("0"), excerpt(catalogue.comment),
             excerpt(catalogue.text), QLatin1String(catalogue.from), whereOf(catalogue, database),
             conditions.join(QStringLiteral(" or ")))
        .arg(mostNames);
}

QStringList readList(Session &session, const QString &statement)
{
    QStringList names;
    RecordSet rows = session.connection().execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        names << rows.text(0);
    return names;
}

} // namespace

QString titleOf(Kind kind)
{
    constexpr std::array<QStringView, 10> titles{
        u"データベース", u"テーブル", u"ビュー",   u"列",       u"索引",
        u"プロシージャ", u"関数",     u"トリガー", u"イベント", u"値"};
    return titles[static_cast<std::size_t>(kind)].toString();
}

QStringList nameStatements(const QString &text, const QString &database)
{
    QStringList statements;
    for (const Catalogue &catalogue : catalogues)
        statements << statementFor(catalogue, text, database);
    return statements;
}

SearchHits readNames(Session &session, const QString &statement)
{
    SearchHits hits;
    RecordSet rows = session.connection().execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        QStringList places, excerpts;
        if (rows.text(4) == u"1")
            places << QStringLiteral("名前");
        for (const auto &[column, place] :
             {std::pair(5, QStringLiteral("コメント")), {6, QStringLiteral("定義")}})
            if (!rows.isNull(column)) {
                places << place;
                excerpts << rows.text(column).simplified();
            }
        hits.push_back({kindOf(rows.text(0)), rows.text(1), rows.text(2), rows.text(3),
                        places.join(QStringLiteral("、")), excerpts.join(QStringLiteral(" … "))});
    }
    return hits;
}

QStringList searchableDatabases(Session &session)
{
    return readList(session, QStringLiteral("show databases"));
}

QStringList searchableTables(Session &session, const QString &database)
{
    return readList(session, QStringLiteral("select table_name from information_schema.tables where "
                                            "table_schema=%1 and table_type<>'VIEW' order by table_name")
                                 .arg(textLiteral(database)));
}

#include "core/sql/failure.h"
#include "core/sql/format.h"
#include "core/sql/lexer.h"
#include "core/sql/passwords.h"
#include "core/sql/selectedtable.h"
#include "core/sql/splitter.h"
#include "core/sql/statements.h"
#include "core/sql/stringbuffer.h"
#include "support/rows.h"

#include <QTest>

namespace {

// Each token stands between bars behind the first letter of its kind; "!" marks one that is never closed.
QString takenApart(const QString &text, SqlMode mode)
{
    QString result;
    for (const Token &token : sqlTokens(text, mode))
        result += QStringLiteral("BC<>WNTAS")[static_cast<int>(token.kind)] +
                  (token.isClosed ? QString() : QStringLiteral("!")) + text.mid(token.start, token.length) +
                  u'|';
    return result;
}

// The pieces with the lines that they begin on; "!" marks one that is never closed, "<" a script to run.
QStringList pieces(const std::string &script, std::size_t bytesAtOnce, SqlMode mode)
{
    QStringList all;
    StatementSplitter splitter(mode);
    for (std::size_t at = 0; at <= script.size(); at += bytesAtOnce) {
        splitter.feed(std::string_view(script).substr(at, bytesAtOnce));
        if (at + bytesAtOnce > script.size())
            splitter.finish();
        while (const std::optional<ScriptPiece> piece = splitter.next()) {
            all << QString::number(piece->line) + (piece->isClosed ? u' ' : u'!') +
                       (piece->kind == ScriptPiece::Kind::Source ? u'<' : u'"') +
                       QString::fromUtf8(piece->text.data(), static_cast<qsizetype>(piece->text.size()));
            const auto end = static_cast<std::size_t>(piece->end);
            if (static_cast<std::size_t>(piece->start) > end || end > script.size())
                all << "misplaced";
        }
    }
    return all;
}

} // namespace

// Rules about text.
class TextsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsAreTakenApart_data();
    void textsAreTakenApart();
    void scriptsAreSplit_data();
    void scriptsAreSplit();
    void statementsAreLaidOut_data();
    void statementsAreLaidOut();
    void tablesOfSelectsAreFound_data();
    void tablesOfSelectsAreFound();
    void secretsAreMasked_data();
    void secretsAreMasked();
    void viewsAreLaidOut();
    void createTextsAreQualified();
    void growthFollowsTheRule();
};

void TextsTest::textsAreTakenApart_data()
{
    // The tokens, and those under ANSI_QUOTES and NO_BACKSLASH_ESCAPES.
    const Rows<QString, QString, QString> row;
    const auto same = [&row](const char *name, const char *text, const char *tokens) {
        row(name, text, tokens, tokens);
    };
    same("words and signs", "a<=>b:=`c d`->>@@x_$1;", "Wa|S<=>|Wb|S:=|A`c d`|S->>|S@|S@|Wx_$1|S;|");
    same("beyond ASCII", "表 é\xE3\x80\x80x", "W表|B |Wé\xE3\x80\x80x|");
    same("numbers", "1 1.5e-3 .5 1e5 0x1F 0b01 0b2 1a 1.",
         "N1|B |N1.5e-3|B |N.5|B |N1e5|B |N0x1F|B |N0b01|B |W0b2|B |W1a|B |N1.|");
    same("coded texts", "x'1F' B'01' n'a'", "Nx'1F'|B |NB'01'|B |Tn'a'|");
    same("names behind a dot", "d.1e5 t.2 `d`.3", "Wd|S.|W1e5|B |Wt|S.|W2|B |A`d`|S.|W3|");
    same("line comments", "a--b -- c'\n#d`\n--", "Wa|S-|S-|Wb|B |C-- c'|B\n|C#d`|B\n|C--|");
    same("block comments", "/* ' */a/*+ h */b/*", "C/* ' */|Wa|C/*+ h */|Wb|C!/*|");
    same("for some servers only", "a/*!50100 b /* c */ d*/e*/ /*M!f*/",
         "Wa|</*!50100|B |Wb|B |C/* c */|B |Wd|>*/|We|S*|S/|B |</*M!|Wf|>*/|");
    same("quotes inside", "'a''\"`'`b``'`'", "T'a''\"`'|A`b``'`|T!'|");
    row("backslashes", QString("'a\\'' \"\\\"\""), QString("T'a\\''|B |T\"\\\"\"|"),
        QString("T!'a\\'' \"\\\"\"|"));
    row("double quotes", QString("\"a\"\"b\""), QString("T\"a\"\"b\"|"), QString("A\"a\"\"b\"|"));
}

void TextsTest::textsAreTakenApart()
{
    const auto [text, tokens, otherTokens] = fetched<QString, QString, QString>();
    QCOMPARE(takenApart(text, {}), tokens);
    QCOMPARE(takenApart(text, {.hasAnsiQuotes = true, .hasPlainBackslashes = true}), otherTokens);
}

void TextsTest::scriptsAreSplit_data()
{
    const Rows<QStringList, bool> row; // the second: under ANSI_QUOTES and NO_BACKSLASH_ESCAPES
    const auto as = [&row](const char *script, const QStringList &pieces, bool isOther = false) {
        row(script, pieces, isOther);
    };
    as("", {});
    as(" ; ;\n-- a;\n/* ; */ # x;\n;", {});
    as("select 1;\n  select ';' , \"a;\" -- ;\n;\nlast",
       {"1 \"select 1", "2 \"select ';' , \"a;\" -- ;\n", "4 \"last"});
    as("a 'it\\';' ; `b;``;` ; x/*;*/;", {"1 \"a 'it\\';' ", "1 \"`b;``;` ", "1 \"x/*;*/"});
    as("a '\\'; \"b;\";", {"1 \"a '\\'", "1 \"\"b;\""}, true);
    as("a 'b; c", {"1!\"a 'b; c"});
    as("/*!50003 create */ /*!50003 trigger t begin a; b; end */;;x",
       {"1 \"/*!50003 create */ /*!50003 trigger t begin a; b; end */", "1 \"x"});
    as("Delimiter $$ rest\nbegin a; end$$\ndelimiter ;\nx;y", {"2 \"begin a; end", "4 \"x", "4 \"y"});
    as("delimiter //\na / b//c//\nDELIMITER ';'\nd;", {"2 \"a / b", "2 \"c", "4 \"d"});
    as("delimiter go\nselect 'go' go\nx", {"2 \"select 'go' ", "3 \"x"});
    as("delimiter\nx;", {"1 \"delimiter\nx"});
    as("use a\nuse `b;`;use\nc;\\. d.sql \nSOURCE e f.sql;\nsource;",
       {"1 \"use a", "2 \"use `b;`", "2 \"use\nc", "3 <d.sql", "4 <e f.sql", "5 \"source"});
}

// Whatever the size of the pieces that the script comes in.
void TextsTest::scriptsAreSplit()
{
    const auto [found, isOther] = fetched<QStringList, bool>();
    const std::string script = QTest::currentDataTag();
    const SqlMode mode{.hasAnsiQuotes = isOther, .hasPlainBackslashes = isOther};
    for (std::size_t size = 1; size < 60; size += 3)
        QCOMPARE(pieces(script, size, mode), found);
}

void TextsTest::statementsAreLaidOut_data()
{
    const Rows<QByteArray> row; // laid out, with keywords in capital letters
    const auto as = [&row](const char *script, const char *formatted) { row(script, formatted); };
    as("select a,b from t where a=1 and b between 2 and 3 or c",
       "SELECT a, b\nFROM t\nWHERE a=1\n    AND b BETWEEN 2 AND 3\n    OR c");
    as("select  x.`from`, @set from t inner join u on t.a = u.a group  by a -- c\n order by 1",
       "SELECT x.`from`, @set\nFROM t\nINNER JOIN u ON t.a = u.a\nGROUP BY a -- c\nORDER BY 1");
    as("update t set a = (select max(b) from u where c) where count (*) = 1;delete from t",
       "UPDATE t\nSET a = (\n    SELECT max(b)\n    FROM u\n    WHERE c\n)\nWHERE count (*) = 1;\nDELETE "
       "FROM t");
    as("insert into t values ('select  1', 2) /* x  y */",
       "INSERT INTO t\nVALUES ('select  1', 2) /* x  y */");
    as("select 1 -- ends here\n;", "SELECT 1 -- ends here\n;");
    as("create table t (\n  a int not  null\n)", "CREATE TABLE t (\n  a int NOT  NULL\n)");
    as("delimiter //\ncreate procedure p() begin select  1; end//",
       "delimiter //\ncreate procedure p() begin select  1; end//");
    as("select 'a", "select 'a");
    as("select 1 -- ends here\n  ;", "SELECT 1 -- ends here\n;");
    as("select a --from t\nwhere b", "SELECT a --FROM t\nWHERE b");
}

void TextsTest::statementsAreLaidOut()
{
    const QByteArray script = QTest::currentDataTag();
    const auto [expected] = fetched<QByteArray>();
    const QByteArray formatted = formattedSql(script, {}, KeywordCase::Upper);
    QCOMPARE(formatted, expected);
    QCOMPARE(formattedSql(formatted, {}, KeywordCase::AsIs), formatted);
    QVERIFY(haveSameTokens(script, formatted, {}, true));
}

void TextsTest::tablesOfSelectsAreFound_data()
{
    QTest::addColumn<QString>("table");
    const auto gives = [](const char *statement, const char *table) { row(statement, QString(table)); };
    gives("select * from t", ".t");
    gives(
        "SELECT t.*, `d`.`t`.a FROM `d`.`t``x` AS x WHERE a in (select b from u, v) order by 1, b limit 2, 3",
        "d.t`x");
    gives("select id from t x for update", ".t");
    gives("select \"id\" from t", "");
    for (const char *other :
         {"select a, b as c from t", "select a b from t", "select a+1 from t", "select count(*) from t",
          "select current_user from t", "select a from t, u", "select a from t join u",
          "select a from t x, u", "select distinct a from t", "select a from t group by a",
          "select a from t union select a from u", "select a from (select a from t) x", "select a from f(1)",
          "select 1", "with t as (select 1) select * from t", "select a from t /*!50000 , u */",
          "select * from t for system_time all", "delete from t", ""})
        gives(other, "");
}

void TextsTest::tablesOfSelectsAreFound()
{
    const SelectedTable table = selectedTable(QTest::currentDataTag(), {});
    QTEST(table.name.isEmpty() ? QString() : table.database + u'.' + table.name, "table");
    QCOMPARE(table.why.isEmpty(), !table.name.isEmpty());
}

void TextsTest::secretsAreMasked_data()
{
    const Rows<QString, QString> row;
    const auto as = [&row](const char *text, const char *shown) { row(text, text, shown); };
    // Nothing to hide.
    as("select 'a' -- b", "select 'a' -- b");
    // Surely read: what is quoted goes, the rest stays.
    as("grant all on `it's`.* to u identified by 'p''x' with grant option",
       "grant all on `it's`.* to u identified by '***' with grant option");
    as("alter user u identified with p as \"x\" password expire",
       "alter user u identified with p as \"***\" password expire");
    as("create user u identified by password '*AB' /* geheim */",
       "create user u identified by password '***' /***/");
    as("set password for u@h = password('x')", "set password for u@h = password('***')");
    as("create table t (a int) connection='mysql://u:secret@h/d/t'",
       "create table t (a int) connection='***'");
    as("set global s3_secret_key='x', s3_access_key='y'",
       "set global s3_secret_key='***', s3_access_key='***'");
    as("set global authentication_ldap_simple_bind_root_pwd='x'",
       "set global authentication_ldap_simple_bind_root_pwd='***'");
    as("prepare s from 'set password = 1'", "prepare s from '***'");
    // Not surely read: a quote that is never closed, one that a backslash may keep open, words without
    // quotes.
    as("set password = 'abc", "set ***");
    as("grant usage on *.* to 'a\\' identified by 's'", "grant ***");
    as("set password = geheim", "set ***");
    as("create server s foreign data wrapper mysql options (user 'x', password geheim)", "create ***");
    as("create table t (a int) connection=mysql://u:geheim@h/d/t", "create ***");
    as("alter user u identified by 'it'geheim''", "alter ***");
    // Misspelt, put together from pieces, written into the server's own tables.
    as("crate user u identified by 'x' 'geheim", "***");
    as("alter user u identifed by geheim", "alter ***");
    as("set pasword = geheim", "set ***");
    as("select old_pasword(geheim)", "select ***");
    as("set @s = concat('set pass', 'word = ''geheim''')", "set ***");
    as("update mysql.global_priv set priv='{\"a\":\"geheim\"}'", "update ***");
    as("insert into `mysql`.`user` values ('%','u','*ABC')", "insert ***");
}

void TextsTest::secretsAreMasked()
{
    const auto [text, shown] = fetched<QString, QString>();
    QCOMPARE(maskedPasswords(text), shown);
    QCOMPARE(maskedPasswords(shown), shown);
    QCOMPARE(holdsPassword(text), text != shown);
    // A long text is as good as a short one.
    const QString longer = text + u' ' + QString(100'000, u'x');
    QVERIFY(!maskedPasswords(longer).contains("geheim"));
}

void TextsTest::viewsAreLaidOut()
{
    const auto shown = [](const char *server) { return shownCreateText("View", server); };
    QCOMPARE(
        shown("CREATE ALGORITHM=UNDEFINED DEFINER=`root`@`%` SQL SECURITY DEFINER VIEW `d`.`v` AS select "
              "`t`.`a` AS `a`,`t`.`b` AS `b` from `t` where (`t`.`a` > 1)"),
        "CREATE VIEW d.v AS \r\nselect t.a AS a,\r\n\tt.b AS b \r\n from t \r\n where (t.a > 1)");
    // The first "and" and the first "or" only; a string is laid out as well.
    QCOMPARE(shown("create view v as select ' , ' FROM t WHERE 1 and 2 and 3 or 4 or 5"),
             "CREATE VIEW v as \r\nselect ' ,\r\n\t ' \r\n FROM t \r\n WHERE 1 \r\n   and 2 and 3 \r\n    or "
             "4 or 5");
    QCOMPARE(shown("CREATE VIEW `v` AS (select 1)"), "CREATE VIEW CREATE VIEW v AS \r\n(select 1)");
    QCOMPARE(shown(""), "CREATE VIEW ");
}

void TextsTest::createTextsAreQualified()
{
    QCOMPARE(qualifiedCreateText("  create table\r\nT (t int) ", "d", "t"),
             "create table\r\r\n`d`.t (t int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE `t`(a int)", "d", "`t`"), "CREATE TABLE  `d`.`t`(a int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE x (a int)", "d", "t"), "CREATE TABLE  x (a in`d`.t)");
    QVERIFY_THROWS_EXCEPTION(Failure, cutAtLastComma(QString()));
}

void TextsTest::growthFollowsTheRule()
{
    StringBuffer buffer;
    buffer.Init(-5);
    QCOMPARE(buffer.Capacity(), 128);
    QString expected;
    const auto append = [&](int length) {
        // Characters of two, three and (as a pair) four bytes: it is characters that count.
        const QString text = QStringLiteral("é表ｱ").repeated(length).left(length);
        buffer.Append(text);
        expected += text;
        return buffer.Capacity();
    };
    QCOMPARE(append(128), 128);
    QCOMPARE(append(172), 384); // two whole steps, which become the step
    QCOMPARE(append(100), 640);
    QCOMPARE(append(240), 640);
    QCOMPARE(buffer.length(), 640);
    QCOMPARE(buffer.ToString(), expected);
    buffer.Clear();
    QCOMPARE(buffer.Capacity(), 0);
    buffer.appendUtf8("y");
    QCOMPARE(buffer.Capacity(), 256);
    QCOMPARE(buffer.Text(), "y");
    // A replaced text has no spare room; a pair counts as two.
    buffer.Text("😀");
    QCOMPARE(buffer.Capacity(), 2);
    QCOMPARE(buffer.step(), 256);
    // An exact multiple takes one step more.
    buffer.Init(10);
    buffer.Append(QString(20, u'x'));
    QCOMPARE(buffer.Capacity(), 30);
    // A capacity beyond 32 bits is refused.
    buffer.Init(2147483600);
    buffer.Text(QString(300, u'x'));
    QVERIFY_THROWS_EXCEPTION(Failure, buffer.appendUtf8("y"));
    QCOMPARE(buffer.Text(), QString(300, u'x'));
}

QTEST_APPLESS_MAIN(TextsTest)
#include "test_texts.moc"

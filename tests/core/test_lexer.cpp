#include "core/sql/lexer.h"
#include "core/sql/passwords.h"
#include "support/rows.h"

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

} // namespace

class LexerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsAreTakenApart_data();
    void textsAreTakenApart();
    void secretsAreMasked_data();
    void secretsAreMasked();
};

void LexerTest::textsAreTakenApart_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tokens");
    QTest::addColumn<QString>("otherTokens"); // under ANSI_QUOTES and NO_BACKSLASH_ESCAPES
    const auto same = [](const char *name, const char *text, const char *tokens) {
        row(name, QString(text), QString(tokens), QString(tokens));
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

void LexerTest::textsAreTakenApart()
{
    QFETCH(QString, text);
    QTEST(takenApart(text, {}), "tokens");
    QTEST(takenApart(text, {.hasAnsiQuotes = true, .hasPlainBackslashes = true}), "otherTokens");
}

void LexerTest::secretsAreMasked_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const auto as = [](const char *text, const char *shown) { row(text, QString(text), QString(shown)); };
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

void LexerTest::secretsAreMasked()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(maskedPasswords(text), shown);
    QCOMPARE(maskedPasswords(shown), shown);
    QCOMPARE(holdsPassword(text), text != shown);
    // A long text is as good as a short one.
    const QString longer = text + u' ' + QString(100'000, u'x');
    QVERIFY(!maskedPasswords(longer).contains("geheim"));
}

QTEST_APPLESS_MAIN(LexerTest)
#include "test_lexer.moc"

// Names as hostile as they come: whatever is done to the object that bears one works or gives the server's
// words, and nothing else is changed afterwards.
#include "browser/frmTarnwell.h"
#include "controls/lists/fileboxes.h"
#include "controls/text/sqltextbox.h"
#include "users/frmUserAdd.h"
#include "watchedserver.h"

#include <QDate>

class HostileNamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void init();
    void cleanup() { m_stage.reset(); }
    void tablesViewsAndRoutines_data();
    void tablesViewsAndRoutines();
    void databases();
    void columns();
    void accounts_data();
    void accounts();
    void grants();

private:
    void connectTo(const QString &mode);
    void fill(QDialog &dialog);
    // Clicks, and fails when anything but the objects named (or what is in a database named) is changed.
    void press(const char *button, const QStringList &own);
    void useTable(const QString &item, const QString &name, bool isView);
    void changeAndRestore(const QString &item, const QString &name, bool isView);
    void useRoutine(const QString &name);
    void openAccounts();
    // Chooses what is there, else nothing.
    void choose(const char *list, const QString &text) const
    {
        m_stage->control<ChosenList>(list)->setCurrentRow(
            static_cast<int>(m_stage->items(list).indexOf(text)));
    }
    void useAccount(const QString &user);

    WatchedServer m_server;
    QTemporaryDir m_folder;
    Boxes m_boxes;
    std::unique_ptr<Stage> m_stage;
    QString m_typed;
    QString m_words; // what the last press() left in txtError
};

void HostileNamesTest::init()
{
    failOnAnyWarning();
    m_server.setUp();
}

void HostileNamesTest::connectTo(const QString &mode)
{
    m_server.sql(QStringLiteral("set global sql_mode='%1'").arg(mode));
    auto stage = std::make_unique<MainWindowStage>();
    stage->enter(driverOf(isBuiltIn()), m_server.server().port());
    m_stage = std::move(stage);
    m_stage->type("txtServer", "localhost");
    m_stage->click("cmdConnect");
    m_stage->click("cmdShowDb");
    m_boxes.agree(m_folder.path(), [this](QDialog &dialog) { fill(dialog); });
}

// Chooses all backups, or types the name of a database.
void HostileNamesTest::fill(QDialog &dialog)
{
    if (auto *folders = dialog.findChild<FolderBox *>("Dir1")) {
        folders->setPath(m_folder.path());
        dialog.findChild<FileBox *>("File1")->selectAll();
    } else {
        dialog.findChild<QLineEdit *>()->setText(m_typed);
    }
    dialog.findChild<QPushButton *>("cmdOk")->click();
    dialog.reject();
}

void HostileNamesTest::press(const char *button, const QStringList &own)
{
    m_words.clear();
    if (!m_stage->control<QPushButton>(button)->isEnabled())
        return;
    m_server.watch([&] { m_stage->click(button); }, own, QLatin1String(button) + u' ' + own.value(0));
    if (const auto *words = m_stage->window->findChild<QPlainTextEdit *>("txtError"))
        m_words = words->toPlainText();
}

// Rows and columns stay what they were.
void HostileNamesTest::changeAndRestore(const QString &item, const QString &name, bool isView)
{
    const QString object = "d." + name;
    const auto contents = [&] { return m_server.object(object).section(u'\n', 1); };
    const QString before = contents();
    press("cmdCreateTable", {object});
    QCOMPARE(contents(), before);
    m_stage->choose("lstTables", item);
    press("cmdBackup", {object});
    QVERIFY2(m_words.isEmpty(), qPrintable(m_words));
    if (!isView)
        m_server.sql("delete from " + quotedName("d", name));
    press("cmdRestore", {object});
    QVERIFY2(contents() == before, qPrintable(m_words));
    for (const QString &file : QDir(m_folder.path()).entryList(QDir::Files))
        QFile::remove(m_folder.filePath(file));
}

void HostileNamesTest::useTable(const QString &item, const QString &name, bool isView)
{
    const QString object = "d." + name;
    const QString copy = "d.back_" + name + QDate::currentDate().toString("_yy_MM_dd");
    const bool isListed = !item.startsWith("[ERROR]");
    m_stage->choose("lstTables", item);
    for (const char *button : {"cmdDataGet", "cmdCheckTable", "cmdOptimizeTable", "cmdRepairTable"})
        press(button, {object});
    press("cmdCopyDb", {copy});
    QCOMPARE(m_server.objects().contains(copy), isListed && m_words.isEmpty());
    if (m_server.objects().contains(copy) && !isView)
        QCOMPARE(m_server.object(copy).section(u'\n', -1), m_server.object(object).section(u'\n', -1));
    if (isListed)
        changeAndRestore(item, name, isView);

    const bool canDrop = m_stage->control<QPushButton>("cmdDropTable")->isEnabled();
    press("cmdDropTable", {object});
    QVERIFY2(!canDrop || m_server.objects().contains(object) != m_words.isEmpty(),
             qPrintable(object + m_words));
}

void HostileNamesTest::useRoutine(const QString &name)
{
    const QString object = "d." + name + "()";
    m_stage->choose("lstProcFunc", "[PROC]\t" + name);
    const QString before = m_server.object(object);
    press("cmdCreateProc", {object});
    QCOMPARE(m_server.object(object), before);
    m_stage->choose("lstProcFunc", "[PROC]\t" + name);
    press("cmdDropProc", {object});
}

void HostileNamesTest::tablesViewsAndRoutines_data()
{
    const Rows<QString, QString> row;
    row("tables, ANSI_QUOTES", "table", "ANSI_QUOTES");
    row("views", "view", "");
    row("procedures, ANSI_QUOTES", "procedure", "ANSI_QUOTES");
}

void HostileNamesTest::tablesViewsAndRoutines()
{
    const auto [kind, mode] = fetched<QString, QString>();
    connectTo(mode);
    const QStringList names = m_server.make(kind, kind == u"table"  ? " engine=MyISAM select * from d.a"
                                                  : kind == u"view" ? " as select x, y from d.a"
                                                                    : "() select 1");
    QVERIFY(names.size() > 20);
    // The scripts of all at once: a file holds the text of the object that it is named after.
    m_stage->choose("lstDb", "d");
    press("cmdScriptBackUp", {});
    QDir folder(m_folder.path());
    for (const QString &file : folder.entryList(QDir::Files)) {
        QFile script(folder.filePath(file));
        QVERIFY(script.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(script.readAll());
        QVERIFY2(text.contains(file.section(u'.', 0, -2)), qPrintable(file + u'\n' + text));
        QVERIFY(script.remove());
    }
    for (const QString &name : names) {
        if (kind == u"procedure") {
            useRoutine(name);
            continue;
        }
        const QStringList items = m_stage->control<ChosenList>("lstTables")->texts();
        const QStringList own = items.filter(
            QRegularExpression(QStringLiteral("^[^\t]*\t%1$").arg(QRegularExpression::escape(name))));
        QVERIFY2(own.size() == 1, qPrintable(name + u'|' + items.join(u'|')));
        useTable(own[0], name, kind == u"view");
    }
}

void HostileNamesTest::databases()
{
    connectTo({});
    for (const QString &name : hostileNames()) {
        // As typed, blanks at the ends apart; as the server has it where it was made from elsewhere.
        m_typed = name;
        press("cmdCreateDb", {trimmedBlanks(name) + u'.'});
        if (!m_server.tries("create database if not exists " + quotedName(name)))
            continue;
        m_server.tries(
            QStringLiteral("create table %1.keep engine=MyISAM select * from d.a").arg(quotedName(name)));
        m_stage->click("cmdShowDb");
        m_stage->choose("lstDb", name);
        const QString table = name + ".keep";
        const QString copy = name + ".back_keep" + QDate::currentDate().toString("_yy_MM_dd");
        for (const char *button : {"cmdCheckTable", "cmdRepairTable", "cmdCopyDb"})
            press(button, {table, copy});
        m_stage->choose("lstDb", name);
        press("cmdDropDb", {name + u'.', table, copy});
        QCOMPARE(m_server.objects().contains(name + u'.'), !m_words.isEmpty());
        for (const QString &each : {name, trimmedBlanks(name)})
            m_server.sql("drop database if exists " + quotedName(each));
    }
}

// A change that adds a column: no value of the others may be lost without a word.
void HostileNamesTest::columns()
{
    connectTo({});
    for (const QString &name : hostileNames()) {
        const QString quoted = quotedName(name);
        if (!m_server.tries(
                QStringLiteral("create or replace table d.c (%1 varchar(9), keep int, a int) engine=MyISAM")
                    .arg(quoted)))
            continue;
        m_server.sql("insert into d.c values ('一', 7, 8)");
        const auto values = [&] {
            return m_server.sql(QStringLiteral("select concat(%1, keep, a) from d.c").arg(quoted));
        };
        const QString before = values();
        m_stage->choose("lstDb", "d");
        m_stage->choose("lstTables", "[TABLE]\tc");
        m_stage->control<SqlTextBox>("txtField")
            ->setContents(
                QStringLiteral("CREATE TABLE c (%1 varchar(20), keep int, a int, n int)").arg(quoted));
        press("cmdCreateTable", {"d.c"});
        QVERIFY2(values() == before, qPrintable(name + u' ' + m_words));
        const bool isChanged = m_server.object("d.c").contains("n|int");
        QVERIFY2(isChanged == m_words.isEmpty(), qPrintable(name + u' ' + m_words));
    }
}

// Accounts of hostile names, and rights on tables and databases of such names: a command reaches these or
// none.
void HostileNamesTest::openAccounts()
{
    m_boxes.agree();
    m_server.sql("set global sql_mode=''"); // a GRANT to nobody makes an account
    m_stage = std::make_unique<Stage>(m_server.server().connectionString(isBuiltIn()));
    m_stage->open(new frmUserAdd(m_stage->session, nullptr));
}

void HostileNamesTest::accounts_data()
{
    const Rows<QString> row;
    for (const QString &name : hostileNames() + QStringList{"x' or '1'='1", "victim' -- x", "victim' or 'a",
                                                            "vic\\tim", "victim''", "victim'@'%' # "})
        QTest::newRow(qPrintable(name)) << name;
}

void HostileNamesTest::useAccount(const QString &user)
{
    const QString name = user + "@%";
    for (const char *button : {"cmdGrantEdit", "cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel",
                               "cmdTableGrantAdd", "cmdTableGrantEdit", "cmdTableGrantDel", "cmdDelete"}) {
        choose("lstUser", "%\t" + user);
        choose("lstDB", "d");
        choose("lstAddDB", "d");
        choose("lstTable", "d\tkeep");
        m_stage->control<QComboBox>("cboAddDB")->setCurrentText("d");
        choose("lstAddTable", "keep");
        for (const char *box : {"ckPrivType_1", "ckDBPrivType_1", "ckTablePrivType_1"})
            m_stage->check(box);
        press(button, {name, name + " d", name + " d.keep"});
    }
}

void HostileNamesTest::accounts()
{
    const auto [user] = fetched<QString>();
    const QString account = quotedText(user) + "@'%'";
    if (m_server.tries(QStringLiteral("create or replace user %1 identified by 'p'").arg(account))) {
        m_server.sql("grant select on d.* to " + account);
        m_server.sql("grant select on d.keep to " + account);
    }
    openAccounts();
    if (m_stage->items("lstUser").contains("%\t" + user))
        useAccount(user);
    // Added by hand: under that very name, or not at all.
    m_server.tries("drop user " + account);
    m_stage->control<ChosenList>("lstUser")->setCurrentRow(0);
    for (const auto &[box, text] : {std::pair("txtUser", user), {"txtHost", "%"}, {"txtPassword", "p"}})
        m_stage->type(box, text);
    const QString typed = trimmedBlanks(user);
    press("cmdOk", {typed + "@%"});
    m_server.tries(QStringLiteral("drop user %1@'%'").arg(quotedText(typed)));
}

void HostileNamesTest::grants()
{
    const QStringList names = m_server.make("table", " select * from d.a");
    QVERIFY(names.size() > 20);
    for (const QString &name : names)
        m_server.tries("create database " + quotedName(name));
    openAccounts();
    for (const QString &name : names) {
        const QStringList onTable{"u@% d." + name}, onDatabase{"u@% " + name};
        choose("lstUser", "%\tu");
        m_stage->control<QComboBox>("cboAddDB")->setCurrentText("d");
        choose("lstAddTable", name);
        press("cmdTableGrantAdd", onTable);
        m_server.tries(QStringLiteral("grant select on %1 to u").arg(quotedName("d", name)));
        choose("lstUser", "%\tu");
        for (const char *button : {"cmdTableGrantEdit", "cmdTableGrantDel"}) {
            choose("lstTable", "d\t" + name);
            press(button, onTable);
        }
        m_server.tries(QStringLiteral("grant select on %1.* to u").arg(quotedName(name)));
        choose("lstUser", "%\tu");
        for (const char *button : {"cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel"}) {
            choose("lstAddDB", name);
            choose("lstDB", name);
            m_stage->check("ckDBPrivType_0");
            press(button, onDatabase);
        }
        m_server.tries("drop database " + quotedName(name));
    }
}

QTEST_MAIN(HostileNamesTest)
#include "test_hostilenames.moc"

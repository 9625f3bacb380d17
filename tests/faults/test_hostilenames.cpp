// Names as hostile as they come: whatever is done to the object that bears one works or gives the server's
// words, and nothing else is changed afterwards.
#include "controls/sqltextbox.h"
#include "core/statements.h"
#include "mainwindowstage.h"
#include "support/gui/boxes.h"
#include "support/rows.h"
#include "watchedserver.h"
#include "yestoall.h"

#include <QDate>
#include <QPlainTextEdit>
#include <QRegularExpression>

class HostileNamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void init()
    {
        failOnAnyWarning();
        m_server.setUp();
        m_server.sql("set global sql_mode=default");
    }
    void tablesViewsAndRoutines_data();
    void tablesViewsAndRoutines();
    void databases();
    void columns();

private:
    std::unique_ptr<MainWindowStage> connected() const;
    // Clicks, and fails when anything but the objects named (or what is in a database named) is changed.
    void press(MainWindowStage &stage, const char *button, const QStringList &own);
    void useTable(MainWindowStage &stage, const QString &item, const QString &name, bool isView);
    void changeAndRestore(MainWindowStage &stage, const QString &item, const QString &name, bool isView);
    void useRoutine(MainWindowStage &stage, const QString &name);

    WatchedServer m_server;
    QTemporaryDir m_folder;
    QString m_words; // what the last press() left in txtError
};

std::unique_ptr<MainWindowStage> HostileNamesTest::connected() const
{
    auto stage = std::make_unique<MainWindowStage>();
    stage->enter(isBuiltIn() ? nativeDriverName() : "MySQL ODBC 3.51 Driver", m_server.server().port());
    stage->control<QLineEdit>("txtServer")->setText("localhost");
    stage->click("cmdConnect");
    stage->click("cmdShowDb");
    return stage;
}

void HostileNamesTest::press(MainWindowStage &stage, const char *button, const QStringList &own)
{
    m_words.clear();
    if (!stage.control<QPushButton>(button)->isEnabled())
        return;
    m_server.watch([&] { stage.click(button); }, own, QLatin1String(button) + u' ' + own.value(0));
    m_words = stage.control<QPlainTextEdit>("txtError")->toPlainText();
}

// Rows and columns stay what they were.
void HostileNamesTest::changeAndRestore(MainWindowStage &stage, const QString &item, const QString &name,
                                        bool isView)
{
    const QString object = "d." + name;
    const auto contents = [&] { return m_server.object(object).section(u'\n', 1); };
    const QString before = contents();
    press(stage, "cmdCreateTable", {object});
    QCOMPARE(contents(), before);
    stage.choose("lstTables", item);
    press(stage, "cmdBackup", {object});
    QVERIFY2(m_words.isEmpty(), qPrintable(m_words));
    if (!isView)
        m_server.sql("delete from " + quotedName("d", name));
    press(stage, "cmdRestore", {object});
    QVERIFY2(contents() == before, qPrintable(m_words));
    for (const QString &file : QDir(m_folder.path()).entryList(QDir::Files))
        QFile::remove(m_folder.filePath(file));
}

void HostileNamesTest::useTable(MainWindowStage &stage, const QString &item, const QString &name, bool isView)
{
    const QString object = "d." + name;
    const QString copy = "d.back_" + name + QDate::currentDate().toString("_yy_MM_dd");
    const bool isListed = !item.startsWith("[ERROR]");
    stage.choose("lstTables", item);
    for (const char *button : {"cmdDataGet", "cmdCheckTable", "cmdOptimizeTable", "cmdRepairTable"})
        press(stage, button, {object});
    press(stage, "cmdCopyDb", {copy});
    QCOMPARE(m_server.objects().contains(copy), isListed && m_words.isEmpty());
    if (m_server.objects().contains(copy) && !isView)
        QCOMPARE(m_server.object(copy).section(u'\n', -1), m_server.object(object).section(u'\n', -1));
    if (isListed)
        changeAndRestore(stage, item, name, isView);

    const bool canDrop = stage.control<QPushButton>("cmdDropTable")->isEnabled();
    press(stage, "cmdDropTable", {object});
    QVERIFY2(!canDrop || m_server.objects().contains(object) != m_words.isEmpty(),
             qPrintable(object + m_words));
}

void HostileNamesTest::useRoutine(MainWindowStage &stage, const QString &name)
{
    const QString object = "d." + name + "()";
    stage.choose("lstProcFunc", "[PROC]\t" + name);
    const QString before = m_server.object(object);
    press(stage, "cmdCreateProc", {object});
    QCOMPARE(m_server.object(object), before);
    stage.choose("lstProcFunc", "[PROC]\t" + name);
    press(stage, "cmdDropProc", {object});
}

void HostileNamesTest::tablesViewsAndRoutines_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("mode");
    row("tables, ANSI_QUOTES", "table", "ANSI_QUOTES");
    row("views", "view", "");
    row("procedures, ANSI_QUOTES", "procedure", "ANSI_QUOTES");
}

void HostileNamesTest::tablesViewsAndRoutines()
{
    QFETCH(QString, kind);
    QFETCH(QString, mode);
    m_server.sql(QStringLiteral("set global sql_mode='%1'").arg(mode));
    const QStringList names = m_server.make(kind, kind == u"table"  ? " engine=MyISAM select * from d.a"
                                                  : kind == u"view" ? " as select x, y from d.a"
                                                                    : "() select 1");
    QVERIFY(names.size() > 20);
    const auto stage = connected();
    YesToAll boxes(m_folder.path());
    // The scripts of all at once: a file holds the text of the object that it is named after.
    stage->choose("lstDb", "d");
    const QTemporaryDir scripts;
    boxes.folder = scripts.path();
    press(*stage, "cmdScriptBackUp", {});
    for (const QString &file : QDir(scripts.path()).entryList(QDir::Files)) {
        QFile script(scripts.filePath(file));
        QVERIFY(script.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(script.readAll());
        QVERIFY2(text.contains(file.section(u'.', 0, -2)), qPrintable(file + u'\n' + text));
    }
    boxes.folder = m_folder.path();
    for (const QString &name : names) {
        if (kind == u"procedure") {
            useRoutine(*stage, name);
            continue;
        }
        const QStringList items = stage->control<ChosenList>("lstTables")->texts();
        const QStringList own = items.filter(
            QRegularExpression(QStringLiteral("^[^\t]*\t%1$").arg(QRegularExpression::escape(name))));
        QVERIFY2(own.size() == 1, qPrintable(name + u'|' + items.join(u'|')));
        useTable(*stage, own[0], name, kind == u"view");
    }
}

void HostileNamesTest::databases()
{
    YesToAll boxes(m_folder.path());
    const auto stage = connected();
    for (const QString &name : hostileNames()) {
        // As typed, blanks at the ends apart; as the server has it where it was made from elsewhere.
        boxes.typed = name;
        press(*stage, "cmdCreateDb", {trimmedBlanks(name) + u'.'});
        if (!m_server.tries("create database if not exists " + quotedName(name)))
            continue;
        m_server.tries(
            QStringLiteral("create table %1.keep engine=MyISAM select * from d.a").arg(quotedName(name)));
        stage->click("cmdShowDb");
        stage->choose("lstDb", name);
        const QString table = name + ".keep";
        const QString copy = name + ".back_keep" + QDate::currentDate().toString("_yy_MM_dd");
        for (const char *button : {"cmdCheckTable", "cmdRepairTable", "cmdCopyDb"})
            press(*stage, button, {table, copy});
        stage->choose("lstDb", name);
        press(*stage, "cmdDropDb", {name + u'.', table, copy});
        QCOMPARE(m_server.objects().contains(name + u'.'), !m_words.isEmpty());
        for (const QString &each : {name, trimmedBlanks(name)})
            m_server.sql("drop database if exists " + quotedName(each));
    }
}

// A change that adds a column: no value of the others may be lost without a word.
void HostileNamesTest::columns()
{
    YesToAll boxes(m_folder.path());
    const auto stage = connected();
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
        stage->choose("lstDb", "d");
        stage->choose("lstTables", "[TABLE]\tc");
        stage->control<SqlTextBox>("txtField")
            ->setContents(
                QStringLiteral("CREATE TABLE c (%1 varchar(20), keep int, a int, n int)").arg(quoted));
        press(*stage, "cmdCreateTable", {"d.c"});
        QVERIFY2(values() == before, qPrintable(name + u' ' + m_words));
        const bool isChanged = m_server.object("d.c").contains("n|int");
        QVERIFY2(isChanged == m_words.isEmpty(), qPrintable(name + u' ' + m_words));
    }
}

QTEST_MAIN(HostileNamesTest)
#include "test_hostilenames.moc"

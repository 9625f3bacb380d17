// Names as hostile as they come: dropping what bears one works or gives the server's words, and nothing else
// is gone afterwards.
#include "mainwindowstage.h"
#include "support/testserver.h"

#include <QApplication>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTimer>

namespace {

// Says yes to everything and keeps what was said.
class YesToAll : public QObject {
public:
    YesToAll() { look(); }
    QStringList texts;

private:
    void look()
    {
        QTimer::singleShot(5, this, &YesToAll::look);
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            texts << box->text();
            auto *yes =
                box->button(QMessageBox::Yes) ? box->button(QMessageBox::Yes) : box->button(QMessageBox::Ok);
            yes->click();
        }
    }
};

} // namespace

class HostileNamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_server = std::make_unique<TestServer>(); }
    void droppingHitsThatObjectOrNone_data();
    void droppingHitsThatObjectOrNone();

private:
    QString objects() const
    {
        return m_server->run(QStringLiteral(
            "select 'table', table_schema, table_name from information_schema.tables where table_schema like "
            "'d%' "
            "union all select routine_type, routine_schema, routine_name from information_schema.routines "
            "union all select 'database', schema_name, '' from information_schema.schemata "
            "union all select 'account', user, host from mysql.user order by 1, 2, 3"));
    }
    std::unique_ptr<TestServer> m_server;
};

void HostileNamesTest::droppingHitsThatObjectOrNone_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("name");
    const QStringList names{QStringLiteral("a b"),       QStringLiteral("a.b"),
                            QStringLiteral("a`b"),       QStringLiteral("it's"),
                            QStringLiteral("a\"b"),      QStringLiteral("a/b"),
                            QStringLiteral("a\\b"),      QStringLiteral("店の商品"),
                            QString(64, u'n'),           QStringLiteral("select"),
                            QStringLiteral("a-b"),       QStringLiteral("%s%1"),
                            QStringLiteral("<b>x</b>"),  QStringLiteral("d.keep"),
                            QStringLiteral("1e5"),       QStringLiteral("$x"),
                            QStringLiteral("keep, a"),   QStringLiteral("keep#"),
                            QStringLiteral("keep;"),     QStringLiteral("keep cascade"),
                            QStringLiteral("keep -- x"), QStringLiteral("a/**/"),
                            QStringLiteral("表")};
    for (const QString &kind : {QStringLiteral("table"), QStringLiteral("view"), QStringLiteral("procedure"),
                                QStringLiteral("database")})
        for (const QString &name : names)
            QTest::addRow("%s %s", qPrintable(kind), qPrintable(name)) << kind << name;
}

void HostileNamesTest::droppingHitsThatObjectOrNone()
{
    QFETCH(QString, kind);
    QFETCH(QString, name);
    QString quoted = name;
    quoted.replace(u'`', QStringLiteral("``"));
    const bool isDatabase = kind == u"database", isRoutine = kind == u"procedure";
    m_server->run(
        QStringLiteral("drop database if exists d; create database d; use d; create table keep (a int);"
                       "create table b (a int); create table a (a int); create procedure keeper() select 1;"
                       "create procedure a() select 1;"));
    const QString without = objects();
    const QString body = kind == u"table"  ? QStringLiteral("(a int)")
                         : kind == u"view" ? QStringLiteral(" as select 1")
                         : isRoutine       ? QStringLiteral("() select 1")
                                           : QString();
    m_server->run(QStringLiteral("create %1 %2`%3`%4")
                      .arg(kind, isDatabase ? QString() : QStringLiteral("d."), quoted, body));
    const QString with = objects();

    MainWindowStage stage;
    YesToAll boxes;
    stage.enter(nativeDriverName(), m_server->port());
    stage.click("cmdConnect");
    stage.click("cmdShowDb");
    stage.choose("lstDb", isDatabase ? name : QStringLiteral("d"));
    if (!isDatabase) {
        auto *list = stage.control<ChosenList>(isRoutine ? "lstProcFunc" : "lstTables");
        const QStringList items = list->texts().filter(u'\t' + name);
        QVERIFY2(!items.isEmpty(), qPrintable(list->texts().join(u'|')));
        if (isRoutine)
            stage.control<QRadioButton>("optTP_1")->setChecked(true);
        stage.choose(isRoutine ? "lstProcFunc" : "lstTables", items.last());
    }
    boxes.texts.clear();
    const char *button = isDatabase ? "cmdDropDb" : isRoutine ? "cmdDropProc" : "cmdDropTable";
    // What the server does not show under its bare name cannot be chosen; its words have been shown.
    if (stage.control<QPushButton>(button)->isEnabled())
        stage.click(button);
    const QString after = objects();
    QVERIFY2(after == with || after == without, qPrintable(with + QStringLiteral("---\n") + after));
    const QString words = stage.control<QPlainTextEdit>("txtError")->toPlainText();
    QVERIFY2((after == without) == words.isEmpty(), qPrintable(words));
    if (isDatabase)
        m_server->run(QStringLiteral("drop database if exists `%1`").arg(quoted));
}

QTEST_MAIN(HostileNamesTest)
#include "test_hostilenames.moc"

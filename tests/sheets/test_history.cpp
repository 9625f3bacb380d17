#include "core/session/historystore.h"
#include "core/session/session.h"
#include "sheets/historywindow.h"
#include "support/gui/control.h"

#include <QApplication>
#include <QFile>
#include <QInputDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

// One history for all programs of a folder.
class HistoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void twoProgramsShareOneHistory();
    void itIsBoundedButForFavourites();
    void whatCannotBeOpenedIsSaid();
    void theChosenOneIsNamedAndPut();

private:
    static HistoryEntry entry(const QString &statement)
    {
        HistoryEntry entry;
        entry.time = QDateTime::currentDateTime();
        entry.statement = statement;
        return entry;
    }
    static QStringList statements(HistoryStore &store, const QString &text = {}, int most = 1000)
    {
        QStringList all;
        for (const HistoryEntry &each : store.find(text, most))
            all << each.statement;
        return all;
    }
};

void HistoryTest::twoProgramsShareOneHistory()
{
    QTemporaryDir folder;
    QFile old(folder.filePath("history.json"));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(R"(["select 'old'", "set password = 'geheim'", "select 'now'"])");
    old.close();
    Session session;
    session.settingsFolder = folder.path();
    QString why;
    const std::unique_ptr<HistoryStore> first = openHistoryStore(session, why, "select 'now'");
    QVERIFY2(first, qPrintable(why));
    const std::unique_ptr<HistoryStore> second = openHistoryStore(session, why);
    QVERIFY2(second, qPrintable(why));
    first->add(entry("select 1 from Customers"));
    second->add(entry("select '漢字'"));
    QCOMPARE(statements(*first), (QStringList{"select '漢字'", "select 1 from Customers", "select 'old'"}));
    QCOMPARE(statements(*second, "CUSTOMERS"), QStringList("select 1 from Customers"));
    QCOMPARE(statements(*second, "漢"), QStringList("select '漢字'"));
    QCOMPARE(statements(*second, "%"), QStringList());
    first->setName(first->find("old", 1)[0].id, "昔");
    QCOMPARE(statements(*second, {}, 1), QStringList("select 'old'"));
    QCOMPARE(second->find("昔", 1)[0].name, "昔");
    second->remove(second->find("old", 1)[0].id);
    QCOMPARE(statements(*first, "old"), QStringList());
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    for (const QString &file : QDir(folder.path()).entryList({"history.sqlite*"}))
        QVERIFY2(!(QFile(folder.filePath(file)).permissions() & others), qPrintable(file));
}

void HistoryTest::itIsBoundedButForFavourites()
{
    QTemporaryDir folder;
    Session session;
    session.settingsFolder = folder.path();
    QString why;
    const std::unique_ptr<HistoryStore> store = openHistoryStore(session, why, {}, 1'000);
    QVERIFY2(store, qPrintable(why));
    store->add(entry("favourite"));
    store->setName(store->find({}, 1)[0].id, "x");
    for (int i = 0; i < 1'500; ++i)
        store->add(entry(QString::number(i)));
    const QStringList all = statements(*store, {}, 100'000);
    QVERIFY2(all.size() <= 1'201, qPrintable(QString::number(all.size())));
    QCOMPARE(all.first(), "favourite");
    QCOMPARE(all[1], "1499");
}

void HistoryTest::whatCannotBeOpenedIsSaid()
{
    QTemporaryDir folder;
    QFile broken(folder.filePath("history.sqlite"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write(QByteArray(5000, 'x'));
    broken.close();
    Session session;
    session.settingsFolder = folder.path();
    QString why;
    QVERIFY(!openHistoryStore(session, why));
    QVERIFY(!why.isEmpty());
}

void HistoryTest::theChosenOneIsNamedAndPut()
{
    QTemporaryDir folder;
    Session session;
    session.settingsFolder = folder.path();
    QString why, put;
    const std::unique_ptr<HistoryStore> store = openHistoryStore(session, why);
    QVERIFY2(store, qPrintable(why));
    for (const char *statement : {"select 1", "select 2", "show tables"})
        store->add(entry(statement));
    auto *window = new HistoryWindow(*store, nullptr, [&](const QString &statement) { put = statement; });
    window->show();
    auto &list = control<QTableWidget>(*window, "historyList");
    QCOMPARE(list.rowCount(), 3);
    list.selectRow(1); // "select 2"
    // The letters typed last are looked for while the name is asked for already.
    control<QLineEdit>(*window, "historyFilter").setText("tables");
    QTimer::singleShot(0, window, [&] {
        auto *box = qobject_cast<QInputDialog *>(QApplication::activeModalWidget());
        QVERIFY(box);
        QTRY_COMPARE(list.rowCount(), 1);
        box->setTextValue("二");
        box->accept();
    });
    control<QPushButton>(*window, "historyName").click();
    QCOMPARE(store->find("二", 10).front().statement, "select 2");
    control<QLineEdit>(*window, "historyFilter").clear();
    QTRY_COMPARE(list.rowCount(), 3);
    Q_EMIT list.cellDoubleClicked(0, 0); // the favourite stands first
    QCOMPARE(put, "select 2");
    QVERIFY(!window->isVisible());
}

QTEST_MAIN(HistoryTest)
#include "test_history.moc"

#pragma once

#include "console/frmSql.h"
#include "support/gui/control.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// Rows without end, of a server that may die after the first hundred: what reads them ends by a stop or by
// that.
class EndlessRows : public RowSource {
public:
    explicit EndlessRows(bool dies)
        : m_dies(dies)
    {
    }
    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return true; }
    bool read(RowBlock &block) override
    {
        if (m_dies && m_count > 0)
            throw SqlError("Lost connection to MySQL server during query", 2013);
        block = RowBlock(2);
        for (int i = 0; i < 100; ++i) {
            block.beginRow();
            block.addCell(std::to_string(++m_count));
            block.addCell("表示");
        }
        return true;
    }

private:
    std::vector<Field> m_fields{{"id", FieldKind::Number}, {"name"}};
    const bool m_dies;
    int m_count = 0;
};

class EndlessConnection : public Connection {
public:
    explicit EndlessConnection(bool dies = false)
        : m_dies(dies)
    {
    }
    void open() override {}
    void close() override {}
    bool isOpen() const override { return true; }
    QString connectionString() const override { return {}; }
    ServerInfo server() const override { return {}; }
    RecordSet execute(const QString &) override { return RecordSet(std::make_unique<EndlessRows>(m_dies)); }
    bool isBusy() const override { return false; }
    void cancel() override {}

private:
    const bool m_dies;
};

// The console in a program folder of its own.
struct ConsoleWindow {
    QTemporaryDir folder;
    Session session;
    QPointer<frmSql> window;

    ConsoleWindow() { session.programFolder = folder.path(); }

    template <class Control>
    Control &control(const char *name) const
    {
        return ::control<Control>(*window, name);
    }
    QPushButton &button(const char *name) const { return control<QPushButton>(name); }
    FlexGrid &grid() const { return control<FlexGrid>("flgrid_Record"); }
    QString text() const { return control<QsciScintilla>("txtRecord").text(); }
    QString count() const { return control<QLabel>("lblRecordCount").text(); }
    QString lastError() const { return control<QPlainTextEdit>("txtError").toPlainText(); }
    void type(const QString &statement) { control<SqlTextBox>("txtSql").setContents(statement); }
    void run(const QString &statement)
    {
        type(statement);
        button("cmdExec").click();
    }
};

// The console on a scripted server.
struct ConsoleFixture : ConsoleWindow {
    Script script;
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's

    ConsoleFixture()
    {
        session.gDsn = QStringLiteral("(なし)");
        session.gCn = script.connect();
    }
    ~ConsoleFixture()
    {
        delete window;
        session.gCn.reset(); // before the script that it is made from
    }

    void open()
    {
        auto scripted = std::make_unique<ScriptedDialogue>();
        dialogue = scripted.get();
        const auto connect = [this] {
            ++connections;
            return connects;
        };
        window = new frmSql(session, connect, std::move(scripted));
    }

    QString filePath() const { return folder.filePath("sqldump.dat"); }
    QByteArray file() const
    {
        QFile file(filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
};

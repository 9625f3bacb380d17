#pragma once

#include "console/frmSql.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// Rows without end: what reads them ends by a stop or a failure.
class EndlessRows : public RowSource {
public:
    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return true; }
    bool read(RowBlock &block) override
    {
        block = RowBlock(2);
        for (int i = 0; i < 100; ++i) {
            block.beginRow();
            block.addCell(std::to_string(++m_count));
            block.addCell("表示");
        }
        return true;
    }

private:
    std::vector<Field> m_fields{{QStringLiteral("id"), FieldKind::Number}, {QStringLiteral("name")}};
    int m_count = 0;
};

class EndlessConnection : public Connection {
public:
    void open() override {}
    void close() override {}
    bool isOpen() const override { return true; }
    QString connectionString() const override { return {}; }
    ServerInfo server() const override { return {}; }
    RecordSet execute(const QString &) override { return RecordSet(std::make_unique<EndlessRows>()); }
    bool isBusy() const override { return false; }
    void cancel() override {}
};

// The console on a scripted server, in a program folder of its own.
struct ConsoleFixture {
    QTemporaryDir folder;
    Script script;
    Session session;
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's
    QPointer<frmSql> window;

    ConsoleFixture()
    {
        session.programFolder = folder.path();
        session.gDsn = QStringLiteral("(なし)");
        session.gCn = script.connect();
    }
    ~ConsoleFixture() { delete window; }

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

    template <class Control>
    Control &control(const char *name) const
    {
        auto *found = window->findChild<Control *>(QLatin1String(name));
        Q_ASSERT_X(found, name, "no such control");
        return *found;
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

    QString filePath() const { return folder.filePath(QStringLiteral("sqldump.dat")); }
    QByteArray file() const
    {
        QFile file(filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
};

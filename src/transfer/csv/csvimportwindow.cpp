#include "transfer/csv/csvimportwindow.h"

#include "controls/grid/flexgrid.h"
#include "controls/window/building.h"
#include "core/command/storedcolumns.h"
#include "core/command/writing.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableWidget>

namespace {

constexpr int previewRows = 100;
constexpr char separators[] = {',', '\t', ';', '|'};
constexpr int rowsPerCommit = 1000;

// What is done with rows that are refused: the indexes of the box.
enum ErrorChoice { TakeAllBack, KeepGoodRows, KeepByThousands };

} // namespace

CsvImportWindow::CsvImportWindow(Session &session, const QString &table)
    : TransferWindow(session, "csvImportWindow",
                     QStringLiteral("CSV の取り込み - ") +
                         (table.isEmpty() ? QStringLiteral("新しいテーブル") : table),
                     "startImport")
    , m_database(session.gDbName)
    , m_table(table)
    , m_path(made<QLineEdit>("importPath"))
    , m_nullText(made<QLineEdit>("importNull"))
    , m_newTable(made<QLineEdit>("importNewTable"))
    , m_encoding(made<QComboBox>("importEncoding"))
    , m_separator(made<QComboBox>("importSeparator"))
    , m_duplicates(made<QComboBox>("importDuplicates"))
    , m_errors(made<QComboBox>("importErrors"))
    , m_header(made<QCheckBox>("importHeader", QStringLiteral("1 行目は列名")))
    , m_local(tick("importLocal", QStringLiteral("LOAD DATA LOCAL で送る（速い）"), false,
                   QStringLiteral("サーバーが許しているときだけ使えます。すべて入るか、すべて取り消すかです。"
                                  "サーバーに渡すのは、この取り込みの行だけです")))
    , m_preview(made<FlexGrid>("importPreview"))
    , m_mapping(made<QTableWidget>("importMapping"))
    , m_checks(made<QLabel>("importChecks"))
{
    fillChoices();
    connectChoices();
    layOut();
    resize(860, 660);
    readColumns();
}

void CsvImportWindow::fillChoices()
{
    m_encoding->addItems(
        {QStringLiteral("UTF-8"), QStringLiteral("CP932 (Shift_JIS)"), QStringLiteral("UTF-16")});
    m_separator->addItems({QStringLiteral("カンマ ,"), QStringLiteral("タブ"), QStringLiteral("セミコロン ;"),
                           QStringLiteral("縦棒 |")});
    m_duplicates->addItems({QStringLiteral("エラーにする"), QStringLiteral("飛ばす"),
                            QStringLiteral("ファイルの値に置き換える")});
    m_errors->addItems({QStringLiteral("入らない行があれば、すべて取り消す"),
                        QStringLiteral("良い行は入れる（最後に確定）"),
                        QStringLiteral("良い行は入れる（1,000 行ごとに確定）")});
    m_nullText->setPlaceholderText(QStringLiteral("（囲まれていない空の値）"));
    m_header->setChecked(true);
    m_checks->setTextFormat(Qt::PlainText);
    m_checks->setWordWrap(true);
    m_preview->setPlaceholderText(QStringLiteral("ファイルを選ぶと、最初の行が表示されます"));
    m_mapping->setColumnCount(2);
    m_mapping->setHorizontalHeaderLabels({QStringLiteral("テーブルの列"), QStringLiteral("ファイルの列")});
    m_mapping->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_mapping->verticalHeader()->hide();
    m_mapping->setTabKeyNavigation(false); // to the boxes in its cells, and out of it
    m_encoding->setAccessibleName(QStringLiteral("文字コード"));
    m_separator->setAccessibleName(QStringLiteral("区切り"));
    m_mapping->setAccessibleName(QStringLiteral("列の対応"));
    m_preview->setAccessibleName(QStringLiteral("ファイルの最初の行"));
    m_mapping->setVisible(!m_table.isEmpty());
    m_newTable->setParent(this); // where it has no place, too
    m_newTable->setVisible(m_table.isEmpty());
}

void CsvImportWindow::connectChoices()
{
    connect(m_path, &QLineEdit::editingFinished, this, [this] {
        if (m_path->isModified() && QFileInfo::exists(m_path->text()))
            look();
        m_path->setModified(false);
    });
    for (QComboBox *box : {m_encoding, m_separator})
        connect(box, &QComboBox::currentIndexChanged, this, &CsvImportWindow::preview);
    for (QComboBox *box : {m_duplicates, m_errors})
        connect(box, &QComboBox::currentIndexChanged, this, &CsvImportWindow::showLocal);
    showLocal();
    connect(m_header, &QCheckBox::toggled, this, &CsvImportWindow::preview);
    connect(m_nullText, &QLineEdit::editingFinished, this, [this] {
        showRows();
        checkTypes();
    });
}

void CsvImportWindow::layOut()
{
    auto *formatRow = new QHBoxLayout;
    formatRow->addWidget(m_encoding);
    formatRow->addWidget(m_separator);
    formatRow->addWidget(m_header);
    formatRow->addStretch();
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("ファイル："), pathRow("importBrowse", m_path, [this] { browse(); }));
    fields->addRow(QStringLiteral("文字コードと区切り："), formatRow);
    fields->addRow(QStringLiteral("NULL と読む値："), m_nullText);
    if (m_table.isEmpty())
        fields->addRow(QStringLiteral("新しいテーブルの名前："), m_newTable);
    fields->addRow(QStringLiteral("キーが重複する行："), m_duplicates);
    fields->addRow(QStringLiteral("入らない行："), m_errors);
    fields->addRow(QString(), m_local);
    // A label that wraps makes the scroll area ask for all the height that the lists would like: they would
    // hide what stands below them.
    constexpr int fewRows = 90;
    for (QWidget *list : std::initializer_list<QWidget *>{m_preview, m_mapping}) {
        list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
        list->setMinimumHeight(fewRows);
    }
    form()->addLayout(fields);
    form()->addWidget(m_checks); // above the lists, where it is seen
    form()->addWidget(m_preview, 2);
    form()->addWidget(m_mapping, 2);
}

void CsvImportWindow::showLocal()
{
    const bool isBuiltIn =
        trimmedBlanks(m_session.gDsn) == noDataSource() && m_session.gDriver == nativeDriverName();
    m_local->setEnabled(isBuiltIn && m_errors->currentIndex() == TakeAllBack &&
                        m_duplicates->currentIndex() != static_cast<int>(Duplicates::Replace));
}

void CsvImportWindow::browse()
{
    const QString start = m_path->text().isEmpty() ? m_session.gTextPath : m_path->text();
    const QString path = choosePath(this, PathKind::OpenFile, start,
                                    QStringLiteral("CSV, TSV (*.csv *.tsv *.txt);;すべてのファイル (*)"));
    if (path.isEmpty())
        return;
    m_path->setText(QDir::toNativeSeparators(path));
    look();
}

void CsvImportWindow::readColumns()
{
    if (m_table.isEmpty())
        return;
    try {
        const bool hasRun = m_session.runner.run(this, windowTitle(), [this] {
            RecordSet rows = m_session.connection().execute(
                QStringLiteral("SELECT COLUMN_NAME, COLUMN_TYPE, EXTRA FROM information_schema.COLUMNS WHERE "
                               "TABLE_SCHEMA=%1 AND TABLE_NAME=%2 ORDER BY ORDINAL_POSITION")
                    .arg(quotedText(m_database), quotedText(m_table)));
            for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
                m_columns.push_back({rows.text(0), rows.text(1), isGenerated(rows.text(2))});
        });
        if (!hasRun)
            tell(QStringLiteral("ほかの処理の実行中です。終わってから開き直してください。"), true);
    } catch (const Failure &error) {
        tell(error.description(), true);
    }
    std::erase_if(m_columns, [](const TableColumn &column) { return column.isGenerated; });
}

CsvFormat CsvImportWindow::format() const
{
    return {static_cast<FileEncoding>(m_encoding->currentIndex()),
            separators[std::max(m_separator->currentIndex(), 0)], m_header->isChecked()};
}

// A file was chosen: what it seems to be, for the user to change.
void CsvImportWindow::look()
{
    QFile file(m_path->text());
    constexpr qint64 enough = 256 * 1024;
    const QFileInfo info(m_path->text());
    if (info.exists() && !info.isFile())
        return tell(QStringLiteral("「%1」はファイルではありません。").arg(m_path->text()), true);
    if (!file.open(QIODevice::ReadOnly))
        return tell(
            QStringLiteral("ファイル「%1」を開けません。\n%2").arg(m_path->text(), file.errorString()), true);
    const CsvFormat guessed = guessedFormat(file.read(enough));
    {
        const QSignalBlocker encoding(m_encoding), separator(m_separator), header(m_header);
        m_encoding->setCurrentIndex(static_cast<int>(guessed.encoding));
        m_separator->setCurrentIndex(
            static_cast<int>(std::ranges::find(separators, guessed.separator) - std::begin(separators)));
        m_header->setChecked(guessed.hasHeader);
    }
    if (m_newTable->text().isEmpty())
        m_newTable->setText(QFileInfo(m_path->text()).completeBaseName());
    preview();
}

void CsvImportWindow::preview()
{
    m_rows.clear();
    m_fileColumns.clear();
    m_preview->clearGrid();
    if (m_path->text().isEmpty())
        return;
    try {
        constexpr qint64 mostBytes = 4 * 1024 * 1024; // the window waits
        CsvReader reader(m_path->text(), format(), mostBytes);
        CsvRow row;
        if (m_header->isChecked() && reader.next(row))
            for (const CsvField &field : row.fields)
                m_fileColumns << QString::fromStdString(field.text);
        while (m_rows.size() < previewRows && reader.bytesRead() < mostBytes && reader.next(row))
            m_rows.push_back(row);
        tell({}, false);
    } catch (const Failure &error) {
        tell(error.description(), true);
    }
    if (m_fileColumns.isEmpty() && !m_rows.empty())
        for (std::size_t i = 0; i < m_rows[0].fields.size(); ++i)
            m_fileColumns << QStringLiteral("c%1").arg(i + 1);
    showRows();
    fillMapping(m_fileColumns);
}

bool CsvImportWindow::isNull(const CsvField &field) const
{
    return !field.isQuoted && QString::fromStdString(field.text) == m_nullText->text();
}

void CsvImportWindow::showRows()
{
    std::vector<Field> fields;
    for (const QString &name : std::as_const(m_fileColumns))
        fields.push_back({name});
    const RedrawOff redrawOff(*m_preview);
    m_preview->clearGrid();
    m_preview->setFields(fields);
    for (const CsvRow &row : m_rows) {
        std::vector<Cell> cells(fields.size());
        for (std::size_t i = 0; i < std::min(cells.size(), row.fields.size()); ++i)
            cells[i] = {row.fields[i].text, isNull(row.fields[i])};
        m_preview->appendRow(cells);
    }
}

// By name, and where the file has none by place.
void CsvImportWindow::fillMapping(const QStringList &fileColumns)
{
    m_mapping->setRowCount(static_cast<int>(m_columns.size()));
    QWidget *before = m_mapping;
    for (int row = 0; row < m_mapping->rowCount(); ++row) {
        const TableColumn &column = m_columns[static_cast<std::size_t>(row)];
        auto *name = new QTableWidgetItem(column.name + QStringLiteral("  ") + column.type);
        name->setFlags(Qt::ItemIsEnabled);
        m_mapping->setItem(row, 0, name);
        auto *choice = new QComboBox;
        choice->setObjectName(QStringLiteral("importColumn_%1").arg(row));
        choice->setAccessibleName(QStringLiteral("「%1」に入れるファイルの列").arg(column.name));
        choice->addItem(QStringLiteral("（入れない）"));
        choice->addItems(fileColumns);
        qsizetype at = row < fileColumns.size() && !m_header->isChecked() ? row : -1;
        if (m_header->isChecked())
            for (qsizetype i = 0; i < fileColumns.size() && at < 0; ++i)
                if (fileColumns[i].trimmed().compare(column.name, Qt::CaseInsensitive) == 0)
                    at = i;
        choice->setCurrentIndex(static_cast<int>(at) + 1);
        connect(choice, &QComboBox::currentIndexChanged, this, &CsvImportWindow::checkTypes);
        m_mapping->setCellWidget(row, 1, choice);
        setTabOrder(std::exchange(before, choice), choice);
    }
    checkTypes();
}

std::vector<ImportColumn> CsvImportWindow::mapping() const
{
    std::vector<ImportColumn> columns;
    if (m_table.isEmpty()) {
        for (int i = 0; i < m_fileColumns.size(); ++i)
            columns.push_back({m_fileColumns[i].trimmed(), i});
        return columns;
    }
    for (int row = 0; row < m_mapping->rowCount(); ++row) {
        const auto *choice = qobject_cast<QComboBox *>(m_mapping->cellWidget(row, 1));
        if (choice && choice->currentIndex() > 0)
            columns.push_back({m_columns[static_cast<std::size_t>(row)].name, choice->currentIndex() - 1});
    }
    return columns;
}

// The rows of the preview against the types of their columns; the server has the last word.
void CsvImportWindow::checkTypes()
{
    QStringList found, left = m_fileColumns;
    constexpr qsizetype mostTold = 5, mostNamed = 10;
    for (const ImportColumn &column : mapping()) {
        left.removeOne(m_fileColumns.value(column.field));
        const auto type = std::ranges::find(m_columns, column.name, &TableColumn::name);
        for (const CsvRow &row : m_rows) {
            const auto at = static_cast<std::size_t>(column.field);
            if (type == m_columns.end() || at >= row.fields.size() || found.size() >= mostTold)
                break;
            const CsvField &field = row.fields[at];
            const QString why = isNull(field) ? QString() : whyNotOfType(type->type, field.text);
            if (!why.isEmpty())
                found << QStringLiteral("%1 行目「%2」(%3): 「%4」は%5")
                             .arg(row.line)
                             .arg(column.name, type->type, QString::fromStdString(field.text).left(40), why);
        }
    }
    // A name that is written otherwise than the table's would be missed in silence.
    if (!left.isEmpty())
        found << QStringLiteral("取り込まないファイルの列 (%1): ").arg(left.size()) +
                     left.mid(0, mostNamed).join(QStringLiteral("、")) +
                     (left.size() > mostNamed ? QStringLiteral("、…") : QString());
    m_checks->setText(found.join(u'\n'));
}

void CsvImportWindow::start()
{
    ImportOptions options;
    options.path = m_path->text();
    options.format = format();
    options.database = m_database;
    options.table = m_table.isEmpty() ? m_newTable->text().trimmed() : m_table;
    options.createsTable = m_table.isEmpty();
    options.columns = mapping();
    options.fileColumns = m_fileColumns;
    options.nullText = m_nullText->text();
    options.duplicates = static_cast<Duplicates>(m_duplicates->currentIndex());
    options.keepsGoodRows = m_errors->currentIndex() != TakeAllBack;
    options.rowsPerCommit = m_errors->currentIndex() == KeepByThousands ? rowsPerCommit : 0;
    options.isLocal = m_local->isEnabled() && m_local->isChecked();
    if (options.path.isEmpty() || options.table.isEmpty())
        return tell(QStringLiteral("ファイルとテーブルを指定してください。"), true);
    if (options.columns.empty())
        return tell(QStringLiteral("取り込む列を選んでください。"), true);
    if (!mayWrite(m_session, dialogue()))
        return;
    begin(m_database, [options](Session &session, const ReportProgress &report) {
        return reportOf(importCsv(session, options, report));
    });
}

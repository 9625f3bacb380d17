#include "transfer/csv/csvexportwindow.h"

#include "controls/grid/flexgrid.h"
#include "controls/grid/packedrows.h"
#include "controls/window/building.h"
#include "core/command/writing.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

// By value: the grid may show something else, or be gone, before the file is written.
struct CsvExportWindow::Source {
    std::vector<Field> fields;
    PackedRows rows;
    QString statement, table;
};

namespace {

// What was not a mere reading may not be done a second time.
QString readAgain(const QString &statement)
{
    return mayChange(statement) ? QString() : statement;
}

constexpr const char *endings[] = {"csv", "json", "jsonl", "md", "sql"}; // in the order of ExportForm

} // namespace

CsvExportWindow::CsvExportWindow(Session &session, const FlexGrid &grid)
    : TransferWindow(session, "csvExportWindow", QStringLiteral("ファイルに書き出し"), "startExport")
    , m_source(std::make_shared<const Source>(
          Source{grid.fields(), grid.rows(), readAgain(grid.statement()), grid.tableName()}))
    , m_database(session.gDbName)
    , m_shownRows(made<QRadioButton>("exportShown",
                                     QStringLiteral("表示している行 (%1)").arg(m_source->rows.rowCount())))
    , m_allRows(made<QRadioButton>("exportAll", QStringLiteral("文のすべての行（もう一度実行します）")))
    , m_form(made<QComboBox>("exportForm"))
    , m_encoding(made<QComboBox>("exportEncoding"))
    , m_separator(made<QComboBox>("exportSeparator"))
    , m_lineEnd(made<QComboBox>("exportLineEnd"))
    , m_header(made<QCheckBox>("exportHeader", QStringLiteral("1 行目に列名")))
    , m_quoteAll(made<QCheckBox>("exportQuoteAll", QStringLiteral("すべての値を \" で囲む")))
    , m_replaces(made<QCheckBox>("exportReplaces", QStringLiteral("CP932 で表せない文字は「?」にする")))
    , m_nullText(made<QLineEdit>("exportNull"))
    , m_table(made<QLineEdit>("exportTable"))
    , m_path(made<QLineEdit>("exportPath"))
{
    fillChoices();
    layOut();
    takePreset();
    connect(m_form, &QComboBox::currentIndexChanged, this, &CsvExportWindow::showForm);
    connect(m_encoding, &QComboBox::currentIndexChanged, this, &CsvExportWindow::showForm);
    showForm();
    resize(640, 480);
}

void CsvExportWindow::fillChoices()
{
    makeOptionGroup(this, {m_shownRows, m_allRows});
    m_shownRows->setChecked(true);
    m_shownRows->setToolTip(
        QStringLiteral("サーバーは FLOAT の値を 6 桁で表示します。すべての桁は、テーブルの"
                       "「すべての行」で書き出せます"));
    m_allRows->setEnabled(!m_source->statement.isEmpty());
    m_allRows->setToolTip(m_source->statement.isEmpty()
                              ? QStringLiteral("この表の文は分からないか、もう一度実行できません")
                              : plainTip(m_source->statement));
    m_form->addItems({QStringLiteral("区切り文字つき (CSV, TSV)"), QStringLiteral("JSON"),
                      QStringLiteral("JSON Lines"), QStringLiteral("Markdown"), QStringLiteral("INSERT 文")});
    m_encoding->addItems(
        {QStringLiteral("UTF-8"), QStringLiteral("UTF-8 (BOM つき)"), QStringLiteral("CP932 (Shift_JIS)")});
    m_separator->addItem(QStringLiteral("カンマ ,"), u',');
    m_separator->addItem(QStringLiteral("タブ"), u'\t');
    m_separator->addItem(QStringLiteral("セミコロン ;"), u';');
    m_separator->addItem(QStringLiteral("縦棒 |"), u'|');
    m_lineEnd->addItems({QStringLiteral("CR LF (Windows)"), QStringLiteral("LF")});
    m_form->setAccessibleName(QStringLiteral("形式"));
    m_header->setChecked(true);
    m_nullText->setPlaceholderText(QStringLiteral("（空。空文字列は \"\" と書きます）"));
    m_table->setText(m_source->table);
    const QString folder = m_session.gTextPath.isEmpty() ? QDir::homePath() : m_session.gTextPath;
    m_path->setText(QDir::toNativeSeparators(QDir(folder).filePath(
        (m_source->table.isEmpty() ? QStringLiteral("result") : m_source->table) + QStringLiteral(".csv"))));
}

void CsvExportWindow::takePreset()
{
    const ExportOptions excel = excelPreset();
    m_form->setCurrentIndex(static_cast<int>(excel.form));
    m_encoding->setCurrentIndex(static_cast<int>(excel.encoding));
    m_separator->setCurrentIndex(0);
    m_lineEnd->setCurrentIndex(excel.hasCrLf ? 0 : 1);
    m_header->setChecked(excel.hasHeader);
    m_quoteAll->setChecked(excel.quotes == QuoteRule::Always);
    m_nullText->setText(excel.nullText);
}

void CsvExportWindow::browse()
{
    const QString path = choosePath(this, PathKind::SaveFile, m_path->text(), {});
    if (!path.isEmpty())
        m_path->setText(QDir::toNativeSeparators(path));
}

void CsvExportWindow::layOut()
{
    auto *preset = made<QPushButton>("exportExcel", QStringLiteral("Excel (日本語)"));
    preset->setToolTip(QStringLiteral("ダブルクリックでそのまま開ける形にします"));
    connect(preset, &QPushButton::clicked, this, &CsvExportWindow::takePreset);
    auto *formRow = new QHBoxLayout;
    formRow->addWidget(m_form, 1);
    formRow->addWidget(preset);
    auto *fields = new QFormLayout;
    fields->addRow(QStringLiteral("行："), m_shownRows);
    fields->addRow(QString(), m_allRows);
    fields->addRow(QStringLiteral("形式："), formRow);
    fields->addRow(QStringLiteral("文字コード："), m_encoding);
    fields->addRow(QString(), m_replaces);
    fields->addRow(QStringLiteral("区切り："), m_separator);
    fields->addRow(QString(), m_header);
    fields->addRow(QString(), m_quoteAll);
    fields->addRow(QStringLiteral("NULL："), m_nullText);
    fields->addRow(QStringLiteral("改行："), m_lineEnd);
    fields->addRow(QStringLiteral("テーブル名："), m_table);
    fields->addRow(QStringLiteral("ファイル："), pathRow("exportBrowse", m_path, [this] { browse(); }));
    form()->addLayout(fields);
    form()->addStretch();
}

// What the form does not know is grey; the file's name follows it.
void CsvExportWindow::showForm()
{
    const auto chosen = static_cast<ExportForm>(m_form->currentIndex());
    const bool isSeparated = chosen == ExportForm::Separated;
    for (QWidget *widget : std::initializer_list<QWidget *>{m_separator, m_header, m_quoteAll, m_nullText})
        widget->setEnabled(isSeparated);
    m_table->setEnabled(chosen == ExportForm::Insert);
    m_replaces->setEnabled(m_encoding->currentIndex() == static_cast<int>(TextEncoding::Cp932));
    const QFileInfo file(m_path->text());
    const bool hasOurs = std::ranges::any_of(
        endings, [&file](const char *ending) { return file.suffix() == QLatin1String(ending); });
    if (hasOurs)
        m_path->setText(QDir::toNativeSeparators(file.dir().filePath(
            file.completeBaseName() + u'.' + QLatin1String(endings[m_form->currentIndex()]))));
}

ExportOptions CsvExportWindow::options() const
{
    ExportOptions options;
    options.path = m_path->text();
    options.form = static_cast<ExportForm>(m_form->currentIndex());
    options.separator = m_separator->currentData().toChar().toLatin1();
    options.quotes = m_quoteAll->isChecked() ? QuoteRule::Always : QuoteRule::WhereNeeded;
    options.hasHeader = m_header->isChecked();
    options.nullText = m_nullText->text();
    options.hasCrLf = m_lineEnd->currentIndex() == 0;
    options.encoding = static_cast<TextEncoding>(m_encoding->currentIndex());
    options.table = m_table->text();
    options.replacesUnknown = m_replaces->isChecked();
    return options;
}

void CsvExportWindow::start()
{
    const ExportOptions how = options();
    if (how.path.isEmpty())
        return tell(QStringLiteral("ファイルを指定してください。"), true);
    if (how.form == ExportForm::Insert && how.table.isEmpty())
        return tell(QStringLiteral("INSERT 文のテーブル名を指定してください。"), true);
    if (!mayReplace(how.path))
        return;
    if (m_shownRows->isChecked())
        begin([source = m_source, how](const ReportProgress &report) {
            return exportRows(source->rows, source->fields, how, report);
        });
    else
        begin(m_database, [source = m_source, how](Session &session, const ReportProgress &report) {
            return exportStatement(session, source->statement, how, report);
        });
}

#include "rows/valueeditor.h"

#include "controls/grid/valuefile.h"
#include "controls/window/building.h"
#include "core/session/wholefile.h"
#include "rows/lineends.h"
#include "rows/rowgrid.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStringDecoder>
#include <QVBoxLayout>

namespace {

// What is longer is not put into a text box but goes from and to files.
constexpr qsizetype longestShown = 1024 * 1024;

// The window for one value.
class ValueEditor : public QDialog {
public:
    ValueEditor(QWidget *parent, const TableColumn &column, const RowValue &value);

    std::optional<RowValue> edited() const;

private:
    void buildChoices();
    QWidget *fileButtons();
    void readFile();
    void writeFile();
    void check();
    RowValue current() const;
    QString lineEndWords() const;
    void showBytes();
    // Unlike the box's plain text it keeps no-break spaces.
    QString shown() const { return m_text->document()->toRawText(); }

    const TableColumn m_column;
    const RowValue m_before;
    RowValue m_bytes; // of what is no text, or too long to be shown
    bool m_isText = false;
    QString m_shownBefore;
    QPlainTextEdit *m_text;
    QListWidget *m_choices;
    QCheckBox *m_isNull;
    QLabel *m_words;
    QDialogButtonBox *m_buttons;
};

ValueEditor::ValueEditor(QWidget *parent, const TableColumn &column, const RowValue &value)
    : QDialog(parent)
    , m_column(column)
    , m_before(value)
    , m_bytes(value)
    , m_text(made<QPlainTextEdit>("valueText"))
    , m_choices(made<QListWidget>("valueChoices"))
    , m_isNull(made<QCheckBox>("valueIsNull", QStringLiteral("NULL(&N)")))
    , m_words(made<QLabel>("valueWords"))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel))
{
    setObjectName(QStringLiteral("valueEditor"));
    setWindowTitle(column.name + QStringLiteral(" - ") + column.type);
    resize(560, 360);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_choices, 1);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_words);
    layout->addWidget(m_isNull);
    if (takesFile(column))
        layout->addWidget(fileButtons());
    layout->addWidget(m_buttons);
    m_words->setTextFormat(Qt::PlainText);
    m_words->setWordWrap(true);
    m_isNull->setChecked(!value);
    m_isNull->setEnabled(column.isNullable);
    m_choices->setVisible(column.isSet);
    m_text->setVisible(!column.isSet);
    if (column.isSet)
        buildChoices();
    else
        showBytes();
    connect(m_text, &QPlainTextEdit::textChanged, this, [this] {
        m_isNull->setChecked(false);
        check();
    });
    connect(m_isNull, &QCheckBox::toggled, this, [this] { check(); });
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    check();
}

// A text in the box; of anything else how long it is.
void ValueEditor::showBytes()
{
    m_isText = !m_bytes || m_bytes->size() <= longestShown;
    const QString text = m_isText ? editedText(m_column, m_bytes) : QString();
    const QSignalBlocker blocker(m_text);
    m_text->setPlainText(text);
    m_text->setEnabled(m_isText);
    m_text->setPlaceholderText(
        m_isText ? QString()
                 : QStringLiteral("長い値です。ここでは変更できません。\n見るには表のメニューの"
                                  "「値を表示」を、変えるには「ファイルから」を使って下さい。"));
    m_shownBefore = shown();
}

void ValueEditor::buildChoices()
{
    const QStringList chosen = QString::fromUtf8(m_before.value_or(QByteArray())).split(u',');
    for (const QString &choice : m_column.choices) {
        auto *item = new QListWidgetItem(choice, m_choices);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(chosen.contains(choice) ? Qt::Checked : Qt::Unchecked);
    }
    connect(m_choices, &QListWidget::itemChanged, this, [this] { m_isNull->setChecked(false); });
}

QWidget *ValueEditor::fileButtons()
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    const auto add = [&](const char *name, const QString &text, void (ValueEditor::*run)()) {
        auto *button = made<QPushButton>(name, text);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, run);
        layout->addWidget(button);
    };
    add("valueFromFile", QStringLiteral("ファイルから(&F)..."), &ValueEditor::readFile);
    add("valueToFile", QStringLiteral("ファイルへ(&T)..."), &ValueEditor::writeFile);
    layout->addStretch(1);
    return row;
}

void ValueEditor::readFile()
{
    const QString path = QFileDialog::getOpenFileName(this, valueFileTitle());
    if (path.isEmpty())
        return;
    const ValueFile file = readValueFile(path);
    const QString refusal = file.failure.isEmpty() ? whyNoValue(m_column, file.bytes) : file.failure;
    if (!refusal.isEmpty())
        return m_words->setText(refusal);
    m_bytes = file.bytes;
    m_isNull->setChecked(false);
    showBytes();
    check();
}

void ValueEditor::writeFile()
{
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("値をファイルに書く"));
    if (path.isEmpty())
        return;
    if (const QString failure = saveWholeFile(path, current().value_or(QByteArray())); !failure.isEmpty())
        m_words->setText(failure);
}

void ValueEditor::check()
{
    QString words;
    const RowValue value = current();
    if (value && m_column.kind == ValueKind::Json)
        words = whyNotJson(QString::fromUtf8(*value));
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(words.isEmpty());
    if (words.isEmpty() && value)
        words = QStringLiteral("%1 バイト").arg(value->size()) + lineEndWords();
    m_words->setText(words);
}

QString ValueEditor::lineEndWords() const
{
    const QString mixed = m_isText && m_bytes ? mixedLineEnds(editedText(m_column, m_bytes)) : QString();
    return mixed.isEmpty()
               ? QString()
               : QStringLiteral("。改行が混ざっています (%1)。変えない行の改行はそのままです").arg(mixed);
}

RowValue ValueEditor::current() const
{
    if (m_isNull->isChecked())
        return {};
    if (m_column.isSet) {
        QStringList chosen;
        for (int i = 0; i < m_choices->count(); ++i)
            if (m_choices->item(i)->checkState() == Qt::Checked)
                chosen << m_choices->item(i)->text();
        return chosen.join(u',').toUtf8();
    }
    QString text = shown();
    // The box changes line ends; and what it shows of bytes it cannot show is not the value.
    if (!m_isText || text == m_shownBefore)
        return m_bytes ? m_bytes : RowValue(QByteArray());
    const QString before = editedText(m_column, m_bytes);
    if (!before.contains(QChar::LineSeparator)) // Shift+Enter
        text.replace(QChar::LineSeparator, QChar::ParagraphSeparator);
    text = withLineEndsOf(before, text);
    return editedValue(m_column, text);
}

std::optional<RowValue> ValueEditor::edited() const
{
    const RowValue value = current();
    if (value == m_before)
        return std::nullopt;
    // std::optional(value) would be a RowValue again, and "nothing edited" in it a NULL.
    return std::optional<RowValue>(std::in_place, value);
}

} // namespace

bool needsWindow(const TableColumn &column, const RowValue &value)
{
    constexpr qsizetype longestLine = 500;
    static const QStringList longTypes{QStringLiteral("text"), QStringLiteral("mediumtext"),
                                       QStringLiteral("longtext")};
    return column.isSet || column.kind == ValueKind::Json || column.kind == ValueKind::Bytes ||
           longTypes.contains(column.type.toLower()) ||
           (value && column.kind != ValueKind::Bits &&
            (value->size() > longestLine || value->contains('\n') || value->contains('\r') ||
             value->contains('\0')));
}

std::optional<RowValue> askForValue(QWidget *parent, const TableColumn &column, const RowValue &value)
{
    ValueEditor editor(parent->window(), column, value);
    return editor.exec() == QDialog::Accepted ? editor.edited() : std::nullopt;
}

bool takesFile(const TableColumn &column)
{
    return !column.isSet && (column.kind == ValueKind::Bytes || column.kind == ValueKind::Text ||
                             column.kind == ValueKind::Json);
}

QString whyNoValue(const TableColumn &column, const QByteArray &bytes)
{
    if (column.kind == ValueKind::Bytes)
        return {};
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes);
    if (utf8.hasError())
        return QStringLiteral("文字の列です。UTF-8 の文字として読めません。");
    return column.kind == ValueKind::Json ? whyNotJson(text) : QString();
}

QString whyNotJson(const QString &text)
{
    // A single value is JSON, too, but not for this reader.
    const QByteArray wrapped = '[' + text.toUtf8() + ']';
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(wrapped, &error);
    if (error.error == QJsonParseError::NoError)
        return document.array().size() == 1
                   ? QString()
                   : QStringLiteral("JSONではありません: 値がちょうど 1 つではありません");
    return QStringLiteral("JSONではありません (%1 文字目): %2")
        .arg(QString::fromUtf8(wrapped.mid(1, qMax(0, error.offset - 1))).size() + 1)
        .arg(error.errorString());
}

#include "controls/grid/cellviewer.h"

#include "controls/text/resulttextbox.h"
#include "controls/window/stopping.h"
#include "core/sql/rowblock.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QHBoxLayout>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::size_t longestLine = 500;
constexpr std::size_t mostHexBytes = 1024 * 1024;

} // namespace

CellViewer::CellViewer(QWidget *window)
    : QWidget(window, Qt::Window)
    , m_summary(new QLabel(this))
    , m_tabs(new QTabWidget(this))
    , m_text(new ResultTextBox(this))
    , m_hex(new ResultTextBox(this))
    , m_picture(new QLabel)
{
    setObjectName(QStringLiteral("cellViewer"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this);
    m_text->setObjectName(QStringLiteral("cellText"));
    m_text->setAccessibleName(QStringLiteral("値のテキスト"));
    m_text->setWrapMode(QsciScintilla::WrapCharacter);
    m_hex->setObjectName(QStringLiteral("cellHex"));
    m_hex->setAccessibleName(QStringLiteral("値の16進表示"));
    m_picture->setObjectName(QStringLiteral("cellPicture"));
    m_picture->setAlignment(Qt::AlignCenter);
    auto *pictureArea = new QScrollArea;
    pictureArea->setWidget(m_picture);
    pictureArea->setWidgetResizable(true);
    // The picture takes the focus for its area, which has no role that a screen reader could tell.
    pictureArea->setFocusPolicy(Qt::NoFocus);
    m_picture->setFocusPolicy(Qt::StrongFocus);
    m_picture->setAccessibleName(QStringLiteral("値の画像"));
    m_tabs->setObjectName(QStringLiteral("cellTabs"));
    m_tabs->addTab(m_text, QStringLiteral("テキスト(&T)"));
    m_tabs->addTab(m_hex, QStringLiteral("16進(&H)"));
    m_tabs->addTab(pictureArea, QStringLiteral("画像(&P)"));
    m_summary->setTextFormat(Qt::PlainText);
    auto *copy = new QPushButton(QStringLiteral("値をコピー(&C)"), this);
    copy->setObjectName(QStringLiteral("cellCopy"));
    connect(copy, &QPushButton::clicked, this, [this] { copyValue(); });
    auto *close = new QPushButton(QStringLiteral("閉じる"), this);
    close->setObjectName(QStringLiteral("cellClose"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_summary, 1);
    bottom->addWidget(copy);
    bottom->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addLayout(bottom);
    resize(640, 420);
}

void CellViewer::showValue(const Field &field, const Cell &value, int rowNumber)
{
    m_value = value.isNull ? "NULL" : std::string(value.bytes);
    m_bytes = value.isNull                      ? std::string()
              : field.kind == FieldKind::Binary ? bytesOfLiteral(m_value)
                                                : m_value;
    setWindowTitle(QStringLiteral("%1 (%2行目)").arg(field.name).arg(rowNumber));
    const std::string lines = withShortLines(m_value, longestLine);
    m_text->setWholeText(lines);
    const std::string_view shown = std::string_view(m_bytes).substr(0, mostHexBytes);
    m_hex->setWholeText(hexDump(shown));
    QString summary =
        value.isNull ? QStringLiteral("NULL") : QStringLiteral("%L1 バイト").arg(m_bytes.size());
    if (lines.size() != m_value.size())
        summary += QStringLiteral("　長い行は%1文字で区切って表示").arg(longestLine);
    if (shown.size() != m_bytes.size())
        summary += QStringLiteral("　16進は先頭の1 MBのみ");
    m_summary->setText(summary);
    showPicture();
}

void CellViewer::showPicture()
{
    QByteArray bytes = QByteArray::fromRawData(m_bytes.data(), static_cast<qsizetype>(m_bytes.size()));
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QImage image = reader.read();
    m_picture->setPixmap(QPixmap::fromImage(image));
    m_tabs->setTabEnabled(2, !image.isNull());
    m_tabs->setCurrentIndex(image.isNull() ? 0 : 2);
}

// The value itself, without the line breaks that are only for showing.
void CellViewer::copyValue() const
{
    QApplication::clipboard()->setText(QString::fromStdString(m_value));
}

void CellViewer::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

std::string hexDump(std::string_view bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string dump;
    dump.reserve(bytes.size() / 16 * 78 + 80);
    for (std::size_t start = 0; start < bytes.size(); start += 16) {
        for (int shift = 28; shift >= 0; shift -= 4)
            dump += digits[start >> shift & 15];
        const std::string_view line = bytes.substr(start, 16);
        for (std::size_t i = 0; i < 16; ++i) {
            dump += i == 8 ? "  " : " ";
            if (i >= line.size()) {
                dump += "  ";
                continue;
            }
            const auto byte = static_cast<unsigned char>(line[i]);
            (dump += digits[byte >> 4]) += digits[byte & 15];
        }
        dump += "  ";
        for (const char character : line)
            dump += character >= ' ' && character <= '~' ? character : '.';
        dump += '\n';
    }
    return dump;
}

std::string bytesOfLiteral(std::string_view text)
{
    if (!isHexLiteral(text))
        return std::string(text);
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 2; i < text.size(); i += 2) {
        unsigned value = 0;
        std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
        bytes += static_cast<char>(value);
    }
    return bytes;
}

std::string withShortLines(std::string_view utf8, std::size_t most)
{
    std::string result;
    result.reserve(utf8.size() + utf8.size() / most);
    std::size_t length = 0;
    for (const char character : utf8) {
        const bool isStart = (static_cast<unsigned char>(character) & 0xc0) != 0x80;
        if (character == '\n') {
            length = 0;
        } else if (isStart && ++length > most) {
            result += '\n';
            length = 1;
        }
        result += character;
    }
    return result;
}

#include "controls/grid/cellviewer.h"

#include "controls/grid/jsontree.h"
#include "controls/grid/valuefile.h"
#include "controls/grid/valuetextbox.h"
#include "controls/window/building.h"
#include "controls/window/stopping.h"
#include "core/session/wholefile.h"
#include "core/sql/rowblock.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStringDecoder>
#include <QTabWidget>

#include <algorithm>

namespace {

constexpr std::size_t mostHexBytes = 1024 * 1024, mostReadAtOnce = 1024 * 1024;

// What the bytes of a binary column may be a text in; the names are Qt's.
constexpr std::pair<QStringView, const char *> characterSets[] = {{u"文字セット: 自動", ""},
                                                                  {u"UTF-8", "UTF-8"},
                                                                  {u"CP932 (シフトJIS)", "windows-31j"},
                                                                  {u"EUC-JP", "EUC-JP"},
                                                                  {u"ISO-2022-JP", "ISO-2022-JP"},
                                                                  {u"UTF-16LE", "UTF-16LE"},
                                                                  {u"UTF-16BE", "UTF-16BE"},
                                                                  {u"Latin-1", "ISO-8859-1"}};

QByteArray viewOf(const std::string &bytes)
{
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

CellViewer::CellViewer(QWidget *window)
    : QWidget(window, Qt::Window)
    , m_summary(wordsLabel("cellSummary"))
    , m_tabs(made<QTabWidget>("cellTabs", this))
    , m_text(new ValueTextBox("cellText", QStringLiteral("値のテキスト")))
    , m_hex(made<ResultTextBox>("cellHex"))
    , m_picture(made<QLabel>("cellPicture"))
    , m_formatted(new ValueTextBox("cellJson", QStringLiteral("整形したJSON")))
    , m_tree(new JsonTree("cellTree"))
    , m_characterSet(made<QComboBox>("cellCharacterSet"))
    , m_save(made<QPushButton>("cellSave", QStringLiteral("ファイルに保存(&S)...")))
    , m_loadButton(made<QPushButton>("cellLoad", QStringLiteral("ファイルから(&F)...")))
{
    setObjectName(QStringLiteral("cellViewer"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this);
    buildLayout();
    connectControls();
    resize(720, 460);
}

void CellViewer::buildLayout()
{
    m_hex->setAccessibleName(QStringLiteral("値の16進表示"));
    m_picture->setAlignment(Qt::AlignCenter);
    auto *pictureArea = new QScrollArea;
    pictureArea->setWidget(m_picture);
    pictureArea->setWidgetResizable(true);
    // The picture takes the focus for its area, which has no role that a screen reader could tell.
    pictureArea->setFocusPolicy(Qt::NoFocus);
    m_picture->setFocusPolicy(Qt::StrongFocus);
    m_picture->setAccessibleName(QStringLiteral("値の画像"));
    m_tabs->addTab(m_text, QStringLiteral("テキスト(&T)"));
    m_tabs->addTab(m_hex, QStringLiteral("16進(&H)"));
    m_tabs->addTab(pictureArea, QStringLiteral("画像(&P)"));
    m_tabs->addTab(m_formatted, QStringLiteral("JSON(&J)"));
    m_tabs->addTab(m_tree, QStringLiteral("JSONの木(&R)"));
    for (const auto &[title, name] : characterSets)
        m_characterSet->addItem(title.toString(), QByteArray(name));
    m_characterSet->setAccessibleDescription(QStringLiteral("バイト列を読む文字セット"));
}

void CellViewer::connectControls()
{
    auto *copy = made<QPushButton>("cellCopy", QStringLiteral("値をコピー(&C)"));
    connect(copy, &QPushButton::clicked, this, &CellViewer::copyValue);
    auto *close = made<QPushButton>("cellClose", QStringLiteral("閉じる"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    connect(m_save, &QPushButton::clicked, this, &CellViewer::save);
    connect(m_loadButton, &QPushButton::clicked, this, &CellViewer::load);
    connect(m_characterSet, &QComboBox::activated, this, &CellViewer::showText);
    connect(m_tabs, &QTabWidget::currentChanged, this, &CellViewer::fillTab);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_summary, 1);
    bottom->addWidget(m_characterSet);
    bottom->addWidget(m_loadButton);
    bottom->addWidget(m_save);
    bottom->addWidget(copy);
    bottom->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addLayout(bottom);
}

void CellViewer::showValue(const Field &field, const Cell &value, int rowNumber)
{
    m_reading = {};
    ++m_readings;
    m_tree->showJson(nullptr); // it points into the old value
    m_formatted->setValue({});
    m_json.reset();
    m_name = field.name;
    m_isBinary = field.kind == FieldKind::Binary && !value.isNull;
    m_value = value.isNull ? "NULL" : std::string(value.bytes);
    m_bytes = value.isNull ? std::string() : m_isBinary ? bytesOfLiteral(m_value) : m_value;
    m_hasHex = m_hasJson = false;
    m_characterSet->setCurrentIndex(0);
    m_characterSet->setVisible(m_isBinary);
    m_save->setEnabled(!value.isNull);
    offerLoading({});
    setWindowTitle(QStringLiteral("%1 (%2行目)").arg(field.name).arg(rowNumber));
    showText();
    if (value.isNull)
        m_summary->setText(QStringLiteral("NULL"));
    showPicture();
    showJson();
}

void CellViewer::showText()
{
    const QByteArray set = m_characterSet->currentData().toByteArray();
    m_isReadable = true;
    if (set.isEmpty()) {
        m_text->setValue(m_value);
    } else {
        QStringDecoder decoder(set.constData());
        const std::size_t read = std::min(m_bytes.size(), ValueTextBox::mostShown);
        const QString text = decoder(viewOf(m_bytes).first(static_cast<qsizetype>(read)));
        m_isReadable = decoder.isValid() && !decoder.hasError();
        m_text->setValue(text.toStdString(), read < m_bytes.size());
        m_tabs->setCurrentIndex(TextTab);
    }
    showSummary();
}

void CellViewer::showSummary()
{
    QString summary = QStringLiteral("%L1 バイト").arg(m_bytes.size());
    if (!m_isReadable)
        summary += QStringLiteral("　この文字セットでは読めない所があります");
    if (m_isBinary && m_bytes.size() == 16)
        summary += QStringLiteral("　UUID %1 (時刻を入れ替えたものなら %2)")
                       .arg(uuidText(m_bytes, false), uuidText(m_bytes, true));
    if (m_text->isBroken())
        summary += QStringLiteral("　長い行は%1文字で区切って表示").arg(m_text->longestLine());
    if (m_bytes.size() > mostHexBytes)
        summary += QStringLiteral("　16進は先頭の1 MBのみ");
    const QString most = QStringLiteral("先頭の%1 MBのみ").arg(ValueTextBox::mostShown / 1024 / 1024);
    if (m_text->isCut())
        summary += QStringLiteral("　テキストは") + most + QStringLiteral(" (全体は保存かコピーで)");
    if (m_formatted->isCut())
        summary += QStringLiteral("　整形したJSONは") + most;
    m_summary->setText(summary);
}

void CellViewer::showPicture()
{
    QByteArray bytes = viewOf(m_bytes);
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QImage image = reader.read();
    m_picture->setPixmap(QPixmap::fromImage(image));
    m_tabs->setTabEnabled(PictureTab, !image.isNull());
    m_tabs->setCurrentIndex(image.isNull() ? TextTab : PictureTab);
}

// A number alone is JSON, too, but nothing to look into. A large text is only read when it is looked at.
void CellViewer::showJson()
{
    const std::size_t start = m_value.find_first_not_of(" \t\r\n");
    const bool mayBe = start != std::string::npos && (m_value[start] == '{' || m_value[start] == '[');
    if (mayBe && m_value.size() <= mostReadAtOnce)
        m_json = parseJson(m_value);
    for (const int tab : {JsonTab, TreeTab})
        m_tabs->setTabEnabled(tab, m_json || (mayBe && m_value.size() > mostReadAtOnce));
}

// What takes a while to make is made when it is looked at.
void CellViewer::fillTab(int tab)
{
    if (tab == HexTab && !m_hasHex) {
        m_hex->setWholeText(hexDump(std::string_view(m_bytes).substr(0, mostHexBytes)));
        m_hasHex = true;
    } else if ((tab == JsonTab || tab == TreeTab) && !m_hasJson) {
        m_hasJson = true;
        if (m_json) {
            m_formatted->setValue(formattedJson(*m_json));
            m_tree->showJson(&*m_json);
        } else {
            m_formatted->setValue("読んでいます…");
            readJson();
        }
    }
}

struct CellViewer::ReadJson {
    std::optional<JsonPart> json;
    std::string formatted;
};

// 60 MB take seconds.
void CellViewer::readJson()
{
    m_reading = std::jthread([this, number = m_readings](const std::stop_token &stop) {
        auto read = std::make_shared<ReadJson>();
        read->json = parseJson(m_value, stop);
        if (read->json)
            read->formatted = formattedJson(*read->json, ValueTextBox::mostShown);
        QMetaObject::invokeMethod(this, [this, read, number] {
            if (number == m_readings)
                takeJson(*read);
        });
    });
}

void CellViewer::takeJson(ReadJson &read)
{
    m_json = std::move(read.json);
    m_formatted->setValue(m_json ? read.formatted : "JSON として読めません");
    m_tree->showJson(m_json ? &*m_json : nullptr);
    showSummary();
}

// The bytes as they are, whatever the text is shown in.
void CellViewer::save()
{
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("値をファイルに保存"), m_name);
    if (path.isEmpty())
        return;
    const QString failure = saveWholeFile(path, viewOf(m_bytes));
    m_summary->setText(failure.isEmpty() ? QStringLiteral("%1 に保存しました").arg(path)
                                         : QStringLiteral("保存できませんでした: ") + failure);
}

void CellViewer::offerLoading(const Load &load)
{
    m_load = load;
    m_loadButton->setVisible(bool(load));
}

void CellViewer::load()
{
    const QPointer<CellViewer> self(this); // other windows live on while the file is chosen
    const QString path = QFileDialog::getOpenFileName(this, valueFileTitle());
    if (!self || path.isEmpty())
        return;
    const Load load = m_load; // showing the new value gives another one
    const ValueFile file = readValueFile(path);
    QString refusal = file.failure;
    if (!load)
        refusal = QStringLiteral("表の行が変わりました。値を開き直して下さい。");
    else if (refusal.isEmpty())
        refusal = load(file.bytes);
    m_summary->setText(
        refusal.isEmpty()
            ? QStringLiteral("%1 を値にしました (%L2 バイト)。表の「保存」でサーバーに書き込みます")
                  .arg(path)
                  .arg(file.bytes.size())
            : QStringLiteral("読み込みませんでした: ") + refusal);
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
    if (text.size() <= 2 || text.size() % 2 != 0 || !text.starts_with("0x"))
        return std::string(text);
    // In one go: isHexLiteral() alone takes half a second for 60 MB.
    const auto digit = [](char sign) {
        const char letter = static_cast<char>(sign | 0x20);
        return sign >= '0' && sign <= '9'       ? sign - '0'
               : letter >= 'a' && letter <= 'f' ? letter - 'a' + 10
                                                : -1;
    };
    std::string bytes(text.size() / 2 - 1, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int high = digit(text[2 * i + 2]), low = digit(text[2 * i + 3]);
        if (high < 0 || low < 0)
            return std::string(text);
        bytes[i] = static_cast<char>(high << 4 | low);
    }
    return bytes;
}

QString uuidText(std::string_view bytes, bool isSwapped)
{
    QByteArray digits = QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())).toHex();
    if (isSwapped) // time-high and time-mid stand before time-low
        digits = digits.sliced(8, 8) + digits.sliced(4, 4) + digits.sliced(0, 4) + digits.sliced(16);
    for (const qsizetype place : {20, 16, 12, 8})
        digits.insert(place, '-');
    return QString::fromLatin1(digits);
}

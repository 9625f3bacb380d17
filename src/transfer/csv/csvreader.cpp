#include "transfer/csv/csvreader.h"

#include "core/sql/failure.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 pieceBytes = 256 * 1024;
constexpr int atEnd = -1;
const QByteArray utf8Mark = QByteArrayLiteral("\xEF\xBB\xBF");
const QByteArray replacement = QByteArrayLiteral("\xEF\xBF\xBD"); // of what has no character

PieceDecoder::Encoding decoderOf(FileEncoding encoding)
{
    return encoding == FileEncoding::Utf16 ? PieceDecoder::Encoding::Utf16 : PieceDecoder::Encoding::Cp932;
}

FileEncoding guessedEncoding(const QByteArray &start)
{
    if (start.startsWith("\xFF\xFE") || start.startsWith("\xFE\xFF"))
        return FileEncoding::Utf16;
    QStringDecoder decoder(QStringDecoder::Utf8); // a letter that is cut off at the end is no error
    const QString text = decoder(start);
    return decoder.hasError() || text.isEmpty() != start.isEmpty() ? FileEncoding::Cp932 : FileEncoding::Utf8;
}

// How often each of the first lines holds the separator outside of quotes.
std::vector<int> countsOf(const QByteArray &text, char separator)
{
    std::vector<int> counts(1);
    bool isQuoted = false;
    constexpr std::size_t linesToTry = 20;
    for (const char c : text) {
        if (c == '"')
            isQuoted = !isQuoted;
        else if (c == separator && !isQuoted)
            ++counts.back();
        else if (c == '\n' && !isQuoted) {
            if (counts.size() == linesToTry)
                return counts;
            counts.push_back(0);
        }
    }
    if (counts.size() > 1)
        counts.pop_back(); // the last line may be cut off
    return counts;
}

char guessedSeparator(const QByteArray &text)
{
    char best = ',';
    int bestScore = 0;
    // Where two part the lines alike the comma is the other's decimal point.
    for (const char separator : {'\t', ';', '|', ','}) {
        const std::vector<int> counts = countsOf(text, separator);
        const auto same = static_cast<int>(std::ranges::count(counts, counts[0]));
        // Even lines count more than many separators: commas stand in texts, too.
        const int score = counts[0] == 0 ? 0 : same * 100 / static_cast<int>(counts.size()) * 10 + counts[0];
        if (score > bestScore) {
            best = separator;
            bestScore = score;
        }
    }
    return best;
}

} // namespace

CsvFormat guessedFormat(const QByteArray &start)
{
    CsvFormat format;
    format.encoding = guessedEncoding(start);
    const QByteArray text = format.encoding == FileEncoding::Utf16
                                ? QString(QStringDecoder(QStringDecoder::Utf16)(start)).toUtf8()
                                : start;
    format.separator = guessedSeparator(text);
    const QString firstLine = QString::fromUtf8(text.left(static_cast<qsizetype>(
        std::string_view(text.constData(), static_cast<std::size_t>(text.size())).find_first_of("\r\n"))));
    static const QRegularExpression number(QStringLiteral("^\"?-?[\\d.]+\"?\\s*$"));
    const QStringList values = firstLine.split(QLatin1Char(format.separator));
    format.hasHeader = std::ranges::none_of(values, [](const QString &value) {
        return value.trimmed().isEmpty() || number.match(value).hasMatch();
    });
    return format;
}

CsvReader::CsvReader(const QString &path, const CsvFormat &format, qint64 mostRowBytes)
    : m_file(path)
    , m_format(format)
    , m_mostRowBytes(mostRowBytes)
{
    // Opening a pipe would wait for ever.
    if (const QFileInfo info(path); info.exists() && !info.isFile())
        throw Failure(QStringLiteral("「%1」はファイルではありません。").arg(path));
    if (!m_file.open(QIODevice::ReadOnly))
        throw Failure(QStringLiteral("ファイル「%1」を開けません。\r\n%2").arg(path, m_file.errorString()));
    if (format.encoding != FileEncoding::Utf8)
        m_decoder.emplace(decoderOf(format.encoding));
}

// The piece that was refused may have thousands of lines: they are read once more for it.
qint64 CsvReader::firstUnreadableLine() const
{
    constexpr qint64 mostBytes = 64 * 1024;
    QFile file(m_file.fileName());
    PieceDecoder decoder(decoderOf(m_format.encoding));
    qint64 line = 1;
    for (bool isOpen = file.open(QIODevice::ReadOnly); isOpen && !decoder.hasError() && !file.atEnd();) {
        const QByteArray text = decoder.take(file.readLine(mostBytes));
        line += text.left(decoder.hasError() ? text.indexOf(replacement) : text.size()).count('\n');
    }
    return line;
}

bool CsvReader::fill()
{
    m_at = 0;
    do {
        m_bytes = m_file.read(pieceBytes);
        if (m_file.error() != QFile::NoError)
            throw Failure(QStringLiteral("ファイル「%1」を読めません。\r\n%2")
                              .arg(m_file.fileName(), m_file.errorString()));
        if (m_bytes.isEmpty()) {
            if (m_decoder && m_decoder->endsWithin())
                throw Failure(QStringLiteral("ファイルは %1 行目の文字の途中で終わっています。").arg(m_line));
            return false;
        }
        m_rowBytes += m_bytes.size();
        if (m_rowBytes > m_mostRowBytes + pieceBytes)
            throw Failure(
                QStringLiteral("%1 行目からの行が長すぎます。閉じていない「\"」があるかもしれません。")
                    .arg(m_rowLine));
        if (!std::exchange(m_isBegun, true) && m_bytes.startsWith(utf8Mark))
            m_at = utf8Mark.size();
        if (m_decoder) {
            m_bytes = m_decoder->take(m_bytes);
            if (m_decoder->hasError())
                throw Failure(QStringLiteral("%1 行目に、選んだ文字コードでは読めない文字があります。"
                                             "文字コードを選び直すか、ファイルのその行を直してください。")
                                  .arg(firstUnreadableLine()));
        }
    } while (m_bytes.size() <= m_at);
    return true;
}

int CsvReader::peek()
{
    if (m_at >= m_bytes.size() && !fill())
        return atEnd;
    return static_cast<unsigned char>(m_bytes[m_at]);
}

// True when another field of the row follows.
bool CsvReader::readField(CsvField &field)
{
    field.text.clear();
    field.isQuoted = false;
    if (peek() == '"') {
        field.isQuoted = true;
        const qint64 opened = m_line;
        ++m_at;
        for (int c = peek();; c = peek()) {
            if (c == atEnd)
                throw Failure(QStringLiteral("%1 行目の「\"」が閉じていません。").arg(opened));
            if (c == '"') {
                ++m_at;
                if (peek() != '"')
                    break;
                field.text += '"';
                ++m_at;
                continue;
            }
            const char *const begin = m_bytes.constData() + m_at;
            const char *const stop = std::find(begin, m_bytes.constData() + m_bytes.size(), '"');
            m_line += std::count(begin, stop, '\n');
            field.text.append(begin, stop);
            m_at += stop - begin;
        }
    }
    for (int c = peek(); c != atEnd; c = peek()) {
        ++m_at;
        if (c == m_format.separator)
            return true;
        if (c == '\r' || c == '\n') {
            if (c == '\r' && peek() == '\n')
                ++m_at;
            ++m_line;
            return false;
        }
        // What does not end the field, up to the next byte that may.
        const char *const begin = m_bytes.constData() + m_at - 1;
        const char *const end = m_bytes.constData() + m_bytes.size();
        const char *const stop = std::find_if(begin + 1, end, [this](char each) {
            return each == m_format.separator || each == '\r' || each == '\n';
        });
        field.text.append(begin, stop);
        m_at += stop - begin - 1;
    }
    return false;
}

bool CsvReader::next(CsvRow &row)
{
    for (;;) {
        if (peek() == atEnd)
            return false;
        row.line = m_rowLine = m_line;
        m_rowBytes = 0;
        std::size_t count = 0;
        for (bool hasMore = true; hasMore; ++count) {
            if (row.fields.size() <= count)
                row.fields.emplace_back();
            hasMore = readField(row.fields[count]);
        }
        row.fields.resize(count);
        if (count > 1 || row.fields[0].isQuoted || !row.fields[0].text.empty())
            return true;
        ++m_emptyLines;
    }
}

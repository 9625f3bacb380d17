#include "core/sql/statements.h"
#include "transfer/csv/csvimport.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QRegularExpression wholeNumber(QStringLiteral("\\A[-+]?\\d+\\z"));
const QRegularExpression decimalNumber(QStringLiteral("\\A[-+]?(\\d*)(?:\\.(\\d*))?\\z"));
const QRegularExpression
    anyNumber(QStringLiteral("\\A\\s*[-+]?(\\d+\\.?\\d*|\\.\\d+)([eE][-+]?\\d+)?\\s*\\z"));
const QRegularExpression date(QStringLiteral("\\A\\d{4}[-/]\\d{1,2}[-/]\\d{1,2}\\z"));
const QRegularExpression dateTime(
    QStringLiteral("\\A\\d{4}[-/]\\d{1,2}[-/]\\d{1,2}[ T]\\d{1,2}:\\d{2}(:\\d{2}(\\.\\d{1,6})?)?\\z"));

bool matches(const QRegularExpression &form, const QString &text)
{
    return form.match(text).hasMatch();
}

// What every value so far fits into.
struct Column {
    bool isWhole = true, isDecimal = true, isDate = true, isDateTime = true;
    bool hasValues = false;
    int digits = 0, fraction = 0; // of numbers, in front of and behind the point
    qsizetype letters = 0;

    void add(const QString &text)
    {
        hasValues = true;
        letters = std::max(letters, text.size());
        const QRegularExpressionMatch number = decimalNumber.match(text);
        const auto front = static_cast<int>(number.capturedLength(1));
        const auto behind = static_cast<int>(number.capturedLength(2));
        // A number with zeros in front is a code, whose zeros must stay; with a plus it is one of a
        // telephone.
        const bool isCode = (front > 1 && number.captured(1).startsWith(u'0')) || text.startsWith(u'+');
        isDecimal = isDecimal && number.hasMatch() && front + behind > 0 && !isCode;
        isWhole = isWhole && isDecimal && matches(wholeNumber, text);
        digits = std::max(digits, front);
        fraction = std::max(fraction, behind);
        isDate = isDate && matches(date, text);
        isDateTime = isDateTime && (matches(dateTime, text) || matches(date, text));
    }

    QString type() const
    {
        constexpr int digitsOfInt = 9, digitsOfBigInt = 18, digitsOfDecimal = 65, mostFraction = 30;
        constexpr qsizetype mostLetters = 500;
        if (hasValues && isWhole && digits <= digitsOfBigInt)
            return digits <= digitsOfInt ? QStringLiteral("INT") : QStringLiteral("BIGINT");
        if (hasValues && isDecimal && digits + fraction <= digitsOfDecimal && fraction <= mostFraction)
            return QStringLiteral("DECIMAL(%1,%2)").arg(digits + fraction).arg(fraction);
        if (hasValues && isDate)
            return QStringLiteral("DATE");
        if (hasValues && isDateTime)
            return QStringLiteral("DATETIME(6)");
        return letters <= mostLetters ? QStringLiteral("VARCHAR(%1)").arg(std::max<qsizetype>(letters, 1))
                                      : QStringLiteral("LONGTEXT");
    }
};

} // namespace

QString createTableFor(const ImportOptions &options, const ReportProgress &report)
{
    CsvReader reader(options.path, options.format);
    CsvRow row;
    const std::string nullText = options.nullText.toStdString();
    std::vector<Column> columns(options.columns.size());
    if (options.format.hasHeader)
        reader.next(row);
    TransferStatus status;
    status.object = QStringLiteral("型を調べています");
    for (; reader.next(row); ++status.rows) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const auto at = static_cast<std::size_t>(options.columns[i].field);
            if (at < row.fields.size() && (row.fields[at].isQuoted || row.fields[at].text != nullText))
                columns[i].add(QString::fromStdString(row.fields[at].text));
        }
        constexpr qint64 rowsBetweenReports = 256;
        if (status.rows % rowsBetweenReports == 0)
            report(status);
    }
    QStringList definitions;
    for (std::size_t i = 0; i < columns.size(); ++i)
        definitions << QStringLiteral("  ") + quotedName(options.columns[i].name) + u' ' + columns[i].type();
    return QStringLiteral("CREATE TABLE %1 (\n%2\n) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4")
        .arg(quotedName(options.table), definitions.join(QStringLiteral(",\n")));
}

QString whyNotOfType(const QString &columnType, const std::string &value)
{
    static const QRegularExpression number(
        QStringLiteral("^(tiny|small|medium|big)?int|^(decimal|numeric|float|double|real|year)"));
    static const QRegularExpression length(QStringLiteral("^(?:var)?char\\((\\d+)\\)"));
    const QString text = QString::fromStdString(value);
    const QString type = columnType.toLower();
    if (matches(number, type))
        return matches(anyNumber, text) ? QString() : QStringLiteral("数値ではありません");
    if (type == u"date" || type.startsWith(u"datetime") || type.startsWith(u"timestamp"))
        return matches(date, text) || matches(dateTime, text) ? QString()
                                                              : QStringLiteral("日付ではありません");
    const QRegularExpressionMatch most = length.match(type);
    if (most.hasMatch() && text.toUcs4().size() > most.captured(1).toInt())
        return QStringLiteral("%1 文字を超えています").arg(most.captured(1));
    return {};
}

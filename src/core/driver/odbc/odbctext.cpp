#include "core/driver/odbc/odbctext.h"

#include "core/driver/native/nativehandle.h"
#include "core/driver/native/nativeresult.h"
#include "core/sql/resultlimits.h"

namespace {

// All rows are here already.
class TextResult : public DriverResult {
public:
    explicit TextResult(NativeRows rows)
        : m_rows(std::move(rows))
        , m_columns(m_rows.get())
    {
    }
    const std::vector<Field> &fields() const override { return m_columns.fields(); }
    bool fetch(RowBlock &block) override
    {
        const int columns = static_cast<int>(fields().size());
        if (block.columnCount() != columns)
            block = RowBlock(columns);
        while (block.byteCount() < blockBytes) {
            const MYSQL_ROW values = mysql_fetch_row(m_rows.get());
            if (!values)
                return false;
            m_columns.addRow(block, m_rows.get(), values);
        }
        return true;
    }

private:
    const NativeRows m_rows;
    const NativeColumns m_columns;
};

} // namespace

std::unique_ptr<DriverResult> storedResult(MYSQL *library)
{
    const bool hasRows = mysql_field_count(library) != 0; // none any more once the connection is cut
    NativeRows rows(mysql_store_result(library));
    if (!rows && hasRows)
        throw nativeError(library);
    if (!rows)
        return nullptr;
    requireFewColumns(mysql_num_fields(rows.get()));
    return std::make_unique<TextResult>(std::move(rows));
}

std::unique_ptr<DriverResult> executeAsText(MYSQL *library, const QString &statement)
{
    sendNative(library, statement.toStdString());
    std::unique_ptr<DriverResult> result = storedResult(library);
    dropFurtherResults(library);
    return result;
}

#include "browser/fieldrecords.h"

FieldRec fieldRecord(const std::vector<Field> &fields, std::span<const Cell> row)
{
    FieldRec record;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const QString &name = fields[i].name;
        const Cell &cell = row[i];
        const QString value = QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
        if (name == u"Field")
            record.Field = u' ' + value;
        else if (name == u"Type")
            record.Type = u' ' + value;
        else if (name == u"Null")
            record.Null = value == u"YES" ? QStringLiteral(" ") : QStringLiteral(" not null");
        else if (name == u"Key")
            record.Key = value;
        else if (name == u"Default")
            record.Default = cell.isNull ? QStringLiteral(" DEFAULT NULL") : QStringLiteral(" DEFAULT");
        else if (name == u"Privileges")
            record.Privileges = u' ' + value;
    }
    return record;
}

#include "core/sql/listitem.h"
#include "core/sql/statements.h"
#include "structure/alter/tablealter.h"
#include "structure/compare/databasecompare.h"
#include "structure/compare/tablelikeness.h"
#include "transfer/dump/dumptext.h"

namespace {

// The statements in an order in which a server takes them.
class Sheet {
public:
    Sheet(const DatabaseObjects &target, bool isTargetRight, const CompareOptions &options)
        : m_target(target)
        , m_isTargetRight(isTargetRight)
        , m_options(options)
    {
    }

    void add(const ComparedObject &object, const DatabaseObjects &wanted)
    {
        const std::optional<DumpObject> &from = m_isTargetRight ? object.left : object.right;
        const std::optional<DumpObject> &to = m_isTargetRight ? object.right : object.left;
        const bool isTable = object.kind == DumpKind::Table;
        if (!from) {
            const QString drop = QStringLiteral("DROP %1 %2;\n").arg(object.keyword, quotedName(object.name));
            (isTable ? m_tableDrops : m_drops) << drop;
            m_dropped << visibleName(object.keyword + u' ' + object.name);
        } else if (isTable && to) {
            addAlter(*to, *from, wanted);
        } else {
            DumpOptions as;
            as.drops = to.has_value();
            as.hasDefiners = m_options.hasDefiners;
            (isTable || object.kind == DumpKind::Sequence ? m_creates : m_others) << objectScript(*from, as);
            m_hasRoutines = m_hasRoutines || (to && object.kind == DumpKind::Routine);
        }
    }

    QString text(const DatabaseObjects &source) const
    {
        const auto name = [](const DatabaseObjects &side) {
            return visibleName(side.server) + QStringLiteral("  ") + visibleName(side.database);
        };
        QString text = QStringLiteral("-- %1 を\n-- %2 と同じにする文\n").arg(name(m_target), name(source));
        if (!m_dropped.isEmpty())
            text += QStringLiteral("-- 消えるもの: ") + m_dropped.join(QStringLiteral(", ")) + u'\n';
        if (m_hasRoutines)
            text += QStringLiteral("-- ルーチンは作り直すので、ルーチンごとの権限は消えます\n");
        text += QStringLiteral("USE %1;\nSET @OLD_SQL_MODE=@@sql_mode, @OLD_TIME_ZONE=@@time_zone, "
                               "@OLD_FOREIGN_KEY_CHECKS=@@foreign_key_checks;\n")
                    .arg(quotedName(m_target.database));
        text += m_drops.join(QString());
        // Tables refer to each other in any order, and what goes may bear a foreign key's name that comes.
        const QStringList tables = m_tableDrops + m_creates;
        if (!tables.isEmpty())
            text += QStringLiteral("SET foreign_key_checks=0;\n") + tables.join(QString()) +
                    QStringLiteral("SET foreign_key_checks=@OLD_FOREIGN_KEY_CHECKS;\n");
        // As the texts were read; and what does not fit into a column is refused.
        if (!m_alters.isEmpty())
            text += QStringLiteral("SET sql_mode='STRICT_ALL_TABLES,ALLOW_INVALID_DATES';\n") +
                    m_alters.join(QString());
        return text + m_others.join(QString()) +
               QStringLiteral("\nSET sql_mode=@OLD_SQL_MODE, time_zone=@OLD_TIME_ZONE;\n");
    }

private:
    void addAlter(const DumpObject &is, const DumpObject &wanted, const DatabaseObjects &source)
    {
        const TableDefinition from = tableDefinition(is.definition.text, {});
        const TableDefinition to = takenLikeness(
            {from, m_target.collations, m_target.info},
            {tableDefinition(wanted.definition.text, {}), source.collations, source.info}, m_options);
        for (const LostColumn &lost : lostColumns(from, to, {}))
            m_dropped << visibleName(is.name + u'.' + lost.name);
        for (const QString &statement :
             alterStatements(from, to, {}, {m_target.database, is.name, m_target.info, {}}))
            m_alters << statement + QStringLiteral(";\n");
    }

    const DatabaseObjects &m_target;
    const bool m_isTargetRight;
    const CompareOptions &m_options;
    QStringList m_drops, m_creates, m_alters, m_tableDrops, m_others, m_dropped;
    bool m_hasRoutines = false;
};

} // namespace

QString statementsFor(const std::vector<ComparedObject> &objects, const DatabaseObjects &source,
                      const DatabaseObjects &target, bool isTargetRight, const CompareOptions &options)
{
    Sheet sheet(target, isTargetRight, options);
    for (const ComparedObject &object : objects)
        sheet.add(object, source);
    return sheet.text(source);
}

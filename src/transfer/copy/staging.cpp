#include "transfer/copy/staging.h"

#include "core/command/definition.h"
#include "core/command/doubt.h"
#include "core/sql/statements.h"
#include "core/sql/tabledefinition.h"
#include "transfer/copy/copysteps.h"

#include <QUuid>

#include <algorithm>

namespace {

QString newMark()
{
    constexpr qsizetype enough = 12;
    return QUuid::createUuid().toString(QUuid::Id128).left(enough);
}

} // namespace

Staging::Staging(Session &to, QString database, QStringList replaced, qsizetype count,
                 std::function<void(const QString &)> send)
    : m_to(to)
    , m_database(std::move(database))
    , m_replaced(std::move(replaced))
    , m_count(count)
    , m_send(std::move(send))
    , m_mark(QStringLiteral("tarnwell_%1_").arg(newMark()))
    , m_log(to, QStringLiteral("%1 へのコピー").arg(quotedName(m_database)))
{
}

// A server looks at the rights before it looks for the table. Without them the tables made beside the old
// ones could not even be dropped again.
void Staging::requireRights()
{
    if (!isUsed())
        return;
    try {
        m_send(QStringLiteral("RENAME TABLE %1 TO %2")
                   .arg(quotedName(m_mark + QStringLiteral("none")),
                        quotedName(m_mark + QStringLiteral("try"))));
    } catch (const Failure &failure) {
        constexpr int noFile = 1017, noTable = 1146; // the former in MySQL 5.6
        if (failure.number() != noFile && failure.number() != noTable)
            throw;
    }
}

QString Staging::sideName(qsizetype number) const
{
    return m_mark + QStringLiteral("new%1").arg(number);
}

void Staging::begin()
{
    QStringList sides;
    for (qsizetype i = 0; i < m_count; ++i)
        sides << sideName(i);
    m_log.open({{QStringLiteral("foreign_key_checks"), QStringLiteral("0")}});
    m_log.execute(fillingStep(m_database, sides));
}

DumpObject Staging::beside(const DumpObject &object)
{
    if (!isUsed() || object.kind > DumpKind::Table)
        return object;
    if (m_places.empty())
        begin();
    DumpObject made = object;
    made.name = sideName(static_cast<qsizetype>(m_places.size()));
    Place place{object.keyword, object.name, {}, made.name, {}};
    if (m_replaced.contains(object.name))
        place.old = m_mark + QStringLiteral("old%1").arg(m_places.size());
    if (object.kind == DumpKind::Table) {
        place.table = sideTable(object.definition.text, made.name, readingMode(object.definition.sqlMode),
                                m_to.connection().server());
        made.definition.text = place.table.create;
    } else {
        const SqlTokens words(object.definition.text, {}); // CREATE SEQUENCE name ...
        made.definition.text =
            QStringLiteral("CREATE SEQUENCE ") + quotedName(made.name) + u' ' + words.text(3, words.size());
    }
    m_places.push_back(place);
    return made;
}

void Staging::changePlaces()
{
    if (m_places.empty())
        return;
    requireFreeNames();
    keepHistory();
    tryForeignKeys();
    // Foreign keys of tables that stay would follow an old table to its other name. They keep the name that
    // they refer to where that table is dropped, with the checks off.
    const QStringList referredTo = namesReferredTo();
    QStringList moves, drops, later, left;
    for (const Place &place : m_places) {
        const bool isReferredTo = referredTo.contains(place.name, Qt::CaseInsensitive);
        const auto dropped = [&](const QString &name) {
            return QStringLiteral("DROP %1 %2").arg(place.keyword, inDatabase(name));
        };
        const auto move = [this](const QString &from, const QString &to) {
            return QStringLiteral("%1 TO %2").arg(inDatabase(from), inDatabase(to));
        };
        if (isReferredTo) {
            if (!place.old.isEmpty())
                later << dropped(place.name);
            left << QStringLiteral("RENAME TABLE ") + move(place.side, place.name);
            later << left.last();
            continue;
        }
        if (!place.old.isEmpty()) {
            moves << move(place.name, place.old);
            drops << dropped(place.old);
        }
        moves << move(place.side, place.name);
    }
    later += drops;
    if (!moves.isEmpty())
        later.prepend(QStringLiteral("RENAME TABLE ") + moves.join(QStringLiteral(", ")));
    // Only the one statement is carried out as a whole.
    m_stage = moves.isEmpty() ? Stage::Changed : Stage::Changing;
    beginExchange(later.takeFirst(), left + drops);
    m_stage = Stage::Changed;
    for (const QString &statement : std::as_const(later))
        m_send(statement);
    for (Place &place : m_places)
        addClauses(place);
    m_stage = Stage::Done;
}

// `left` is safe to be sent by hand, also again.
void Staging::beginExchange(const QString &statement, const QStringList &left)
{
    QStringList sides, replaced, statements = left;
    for (const Place &place : m_places) {
        sides << place.side;
        if (!place.old.isEmpty())
            replaced << place.name;
        if (!place.table.clauses.isEmpty())
            statements << completion(place);
    }
    m_log.execute(exchangeStep(statement, m_database, sides, replaced, statements));
}

// Of tables with a history.
void Staging::keepHistory()
{
    constexpr int firstWithHistory = 100304;
    const ServerInfo server = m_to.connection().server();
    if (server.isMariaDb && server.number >= firstWithHistory)
        m_send(QStringLiteral("SET system_versioning_alter_history=KEEP"));
}

// Once the tables have changed places and the old ones are gone it would be too late to learn that the server
// refuses one: for want of a privilege, or of a key that it refers to.
void Staging::tryForeignKeys()
{
    int count = 0;
    for (const Place &place : m_places) {
        QStringList adds, drops;
        for (const SideForeignKey &key : place.table.keys) {
            const QString name = quotedName(m_mark + QStringLiteral("key%1").arg(count++));
            const QString parent = key.parent.isEmpty() ? QString() : quotedName(sideOf(key.parent));
            adds << QStringLiteral("ADD CONSTRAINT ") + name + u' ' + key.head + parent + key.tail;
            drops << QStringLiteral("DROP FOREIGN KEY ") + name;
        }
        const QString alter = QStringLiteral("ALTER TABLE %1 ").arg(quotedName(place.side));
        try {
            for (const QStringList &clauses : {adds, drops})
                if (!clauses.isEmpty())
                    m_send(alter + clauses.join(QStringLiteral(", ")));
        } catch (const Failure &failure) {
            if (failure.isInterrupted() || failure.isConnectionLost())
                throw;
            throw Failure(QStringLiteral("「%1」の外部キー (%2) をコピー先に作れません。\r\n%3")
                              .arg(place.name, place.table.foreignKeys.join(QStringLiteral(", ")),
                                   failure.description()),
                          failure.number(), failure.state());
        }
    }
}

QString Staging::sideOf(const QString &name) const
{
    for (const Place &place : m_places)
        if (place.name.compare(name, Qt::CaseInsensitive) == 0)
            return place.side;
    return name;
}

QString Staging::completion(const Place &place) const
{
    return QStringLiteral("ALTER TABLE %1 %2")
        .arg(inDatabase(place.name), place.table.clauses.join(QStringLiteral(", ")));
}

void Staging::addClauses(Place &place)
{
    if (!place.table.clauses.isEmpty())
        m_send(completion(place));
    place.isComplete = true;
}

// Names of foreign keys are for the whole database: one that a table has which stays would be refused only
// when the others have changed places.
void Staging::requireFreeNames()
{
    RecordSet rows = m_to.connection().execute(
        QStringLiteral("SELECT CONSTRAINT_NAME, TABLE_NAME FROM information_schema.TABLE_CONSTRAINTS WHERE "
                       "CONSTRAINT_SCHEMA=%1 AND CONSTRAINT_TYPE='FOREIGN KEY'")
            .arg(quotedText(m_database)));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        for (const Place &place : m_places)
            if (!m_replaced.contains(rows.text(1), Qt::CaseInsensitive) &&
                place.table.foreignKeys.contains(rows.text(0), Qt::CaseInsensitive))
                throw Failure(
                    QStringLiteral("「%1」の外部キーの名前「%2」は、コピー先の「%3」が使っています。")
                        .arg(place.name, rows.text(0), rows.text(1)));
}

QStringList Staging::namesReferredTo()
{
    QStringList own;
    for (const QString &name : m_replaced)
        own << quotedText(name);
    return column(QStringLiteral("SELECT DISTINCT REFERENCED_TABLE_NAME FROM "
                                 "information_schema.KEY_COLUMN_USAGE WHERE REFERENCED_TABLE_SCHEMA=%1 AND "
                                 "NOT (TABLE_SCHEMA=%1 AND TABLE_NAME IN (%2))")
                      .arg(quotedText(m_database), own.join(u',')));
}

QStringList Staging::leftBehind()
{
    return column(QStringLiteral("SELECT TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA=%1 AND "
                                 "TABLE_NAME REGEXP '^tarnwell_[0-9a-f]{12}_(new|old)[0-9]+$' ORDER BY 1")
                      .arg(quotedText(m_database)));
}

QStringList Staging::column(const QString &statement)
{
    QStringList values;
    RecordSet rows = m_to.connection().execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        values << rows.text(0);
    return values;
}

QString Staging::inDatabase(const QString &name) const
{
    return quotedName(m_database, name);
}

QString Staging::giveUp()
{
    if (m_places.empty())
        return {};
    if (m_stage == Stage::Done) {
        finish();
        return {};
    }
    try {
        const Undoing undoing(m_to);
        try {
            settleDoubt();
        } catch (const Failure &failure) {
            if (!failure.isConnectionLost())
                throw;
            reconnect(m_to);
            settleDoubt();
        }
        finish();
        return wordsOnPlaces();
    } catch (const Failure &failure) { // the notes stay
        return QStringLiteral("\r\nコピー先に作業用のテーブル「%1…」が残っているかもしれません。\r\n%2")
            .arg(m_mark, failure.description());
    }
}

// The one statement that changes the places is carried out as a whole or not at all.
void Staging::settleDoubt()
{
    const QStringList there = column(
        QStringLiteral("SELECT TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA=%1 AND LEFT("
                       "TABLE_NAME, %2)=%3")
            .arg(quotedText(m_database))
            .arg(m_mark.size())
            .arg(quotedText(m_mark)));
    if (m_stage == Stage::Changing &&
        std::ranges::any_of(m_places, [&](const Place &place) { return !there.contains(place.side); }))
        m_stage = Stage::Changed;
    const bool isOver = m_stage >= Stage::Changed;
    // Of those that are dropped one may still refer to another.
    m_to.connection().execute(QStringLiteral("SET foreign_key_checks=0"));
    const QStringList keys =
        column(QStringLiteral("SELECT CONSTRAINT_NAME FROM information_schema.TABLE_CONSTRAINTS WHERE "
                              "CONSTRAINT_SCHEMA=%1 AND CONSTRAINT_TYPE='FOREIGN KEY'")
                   .arg(quotedText(m_database)));
    for (Place &place : m_places) {
        // All clauses of a table are one statement, whose answer may have been lost.
        if (isOver && !place.table.foreignKeys.isEmpty() && keys.contains(place.table.foreignKeys.first()))
            place.isComplete = true;
        if (!there.contains(place.old))
            place.old.clear();
        if (!there.contains(place.side)) {
            place.side.clear();
        } else if (!isOver) {
            m_to.connection().execute(
                QStringLiteral("DROP %1 %2").arg(place.keyword, inDatabase(place.side)));
            place.side.clear();
        }
    }
}

QString Staging::wordsOnPlaces()
{
    if (m_stage < Stage::Changed)
        return QStringLiteral("\r\nコピー先のテーブルは、前のままです。");
    QString words = QStringLiteral("\r\nコピー先のテーブルは、新しい行に入れ替わっています。");
    for (const Place &place : m_places) {
        if (!place.old.isEmpty())
            words += QStringLiteral("\r\n前の「%1」が「%2」に残っています。").arg(place.name, place.old);
        if (!place.side.isEmpty())
            words +=
                QStringLiteral("\r\n新しい「%1」は「%2」にあります。RENAME TABLE で名前を変えてください。")
                    .arg(place.name, place.side);
        if (!place.isComplete && !place.table.clauses.isEmpty())
            words += QStringLiteral("\r\n「%1」には、外部キーなどがまだありません。次の文で加えられます。"
                                    "\r\n%2;")
                         .arg(place.name, completion(place));
    }
    return words;
}

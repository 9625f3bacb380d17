#pragma once

#include "core/sql/lexer.h"

#include <QMap>

#include <vector>

// What a column's line, a key's or a constraint's says in a CREATE TABLE text.
struct TablePart {
    enum class Kind { Column, PrimaryKey, Key, ForeignKey, Check, Period };

    Kind kind = Kind::Column;
    QString name; // without quotes; empty: none is given
    QString head; // of a key, what stands before its name: "UNIQUE KEY"
    QString body; // all that follows the name, as it is written
};

struct TableOption {
    QString name;  // in capitals and without DEFAULT: "ENGINE", "CHARSET", "DATA DIRECTORY"
    QString value; // as it is written; of an option without one its text
    QString text;  // both as they are written
};

// A CREATE TABLE text taken apart. Comments of versions (/*!50100 ... */) are read as what stands in them.
struct TableDefinition {
    QString name; // without quotes and database
    std::vector<TablePart> parts;
    std::vector<TableOption> options;
    QString partitions; // "PARTITION BY ..."; empty: there are none

    std::vector<TablePart> partsOf(TablePart::Kind kind) const;
    QString option(const QString &wanted) const; // its value; null: not given
};

// Throws Failure for a text that is no CREATE TABLE with columns.
TableDefinition tableDefinition(const QString &createText, SqlMode mode);

// Whether a server reads both as the same: quotes of names, case of words, blanks and comments do not matter.
// Names of the left one are taken for those that they are renamed to.
bool meansSame(const QString &left, const QString &right, SqlMode mode,
               const QMap<QString, QString> &renames = {});

// What a text consists of but for blanks and comments.
class SqlTokens {
public:
    SqlTokens(QString text, SqlMode mode);

    std::size_t size() const { return m_tokens.size(); }
    bool isName(std::size_t at) const { return at < size() && m_tokens[at].kind == TokenKind::Name; }
    bool isWord(std::size_t at) const { return at < size() && m_tokens[at].kind == TokenKind::Word; }
    bool isText(std::size_t at) const { return at < size() && m_tokens[at].kind == TokenKind::Text; }
    // A word of the language, or a sign: never a quoted name.
    bool is(std::size_t at, QStringView word) const;
    QString at(std::size_t at) const;                       // as it is written; empty behind the end
    QString name(std::size_t at) const;                     // without quotes
    QString text(std::size_t first, std::size_t end) const; // from one to before another, as it is written
    // Behind the ")" that closes the "(" there; elsewhere behind the place itself.
    std::size_t behindGroup(std::size_t at) const;

private:
    QString m_text;
    std::vector<Token> m_tokens;
};

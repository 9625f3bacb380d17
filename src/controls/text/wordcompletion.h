#pragma once

#include <QMap>
#include <QStringList>

class SqlTextBox;

// Offers SQL words and the names of the connected database's tables and columns for the word before the
// cursor; after a table's name and a dot, that table's columns alone, and after FROM and its like the tables.
// Until the names have been read there are only the words.
class WordCompletion {
public:
    explicit WordCompletion(SqlTextBox &box);

    void offer();
    void setNames(const QStringList &tablesAndColumns); // by turns
    bool hasNames() const { return m_hasNames; }
    void forgetNames() { m_hasNames = false; }

private:
    QStringList wordsFor(const QString &begun, const QString &table) const;

    SqlTextBox &m_box;
    QMap<QString, QStringList> m_columns; // by table, its name in lower case
    QStringList m_names, m_tables;
    bool m_hasNames = false;
};

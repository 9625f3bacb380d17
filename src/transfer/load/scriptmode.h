#pragma once

#include "core/sql/lexer.h"

#include <QHash>
#include <QString>

// The sql_mode of a script that is read without a server, as far as the script sets it in its own words: by a
// text, or by a variable that it has kept one in.
class ScriptMode {
public:
    // Of one statement after the other. True when what follows is to be read otherwise.
    bool take(const QString &statement);
    SqlMode mode() const { return modeOf(m_current); }

private:
    static SqlMode modeOf(const QString &names);
    QString valueOf(const QString &expression) const;

    QString m_current;
    QHash<QString, QString> m_variables; // by name, in small letters
};

#pragma once

#include "core/session/draft.h"

#include <QObject>

class QTimer;
class SqlTextBox;

// What the console's box holds, kept a second after the last key, so that it is there again when the program
// was killed. A console that is closed leaves nothing behind: its text is in the history then.
class ConsoleDraft : public QObject {
public:
    // Puts what a killed program has left into the box.
    ConsoleDraft(SqlTextBox &box, const QString &folder);
    void remove();

private:
    void keep();

    SqlTextBox &m_box;
    std::unique_ptr<Draft> m_draft;
    QTimer *m_timer;
};

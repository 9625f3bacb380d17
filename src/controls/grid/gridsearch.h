#pragma once

#include <QElapsedTimer>
#include <QModelIndex>
#include <QTimer>

#include <string>

class FlexGridModel;

// Looks for a text in all cells, row by row, once around, without regard to the case of Latin letters.
// Works in slices of a few milliseconds, so that a million rows do not stall the window.
class GridSearch : public QObject {
    Q_OBJECT

public:
    GridSearch(const FlexGridModel &model, QObject *parent);

    // Begins at the cell, or with the one after it unless the cell itself may be the hit.
    void start(const QString &text, const QModelIndex &from, bool isForward, bool mayBeFrom);
    void stop() { m_timer.stop(); }

Q_SIGNALS:
    void found(int row, int column);
    void searching(); // it takes longer
    void notFound();

private:
    void run();
    bool stepIsHit();
    void advance();

    const FlexGridModel &m_model;
    QTimer m_timer;
    std::string m_text; // lower case
    bool m_isForward = true;
    int m_row = 0, m_column = 0;
    qint64 m_cellsLeft = 0;
};

// lowered: the text looked for, its Latin letters lower case already.
bool holdsText(std::string_view bytes, std::string_view lowered);

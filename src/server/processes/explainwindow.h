#pragma once

#include "core/sql/connection.h"

#include <QString>

class QWidget;

// How the server carries out the statement that a session runs now.
struct ExplainedProcess {
    std::vector<Field> fields;
    std::vector<std::shared_ptr<RowBlock>> rows;
    QString words; // why there is none; empty: there is
};

// A session that runs nothing that can be explained is told in words; else throws Failure.
ExplainedProcess explainProcess(Connection &connection, const QString &id);
// In a window of its own over the page's.
void showExplained(QWidget *parent, const QString &id, const ExplainedProcess &explained);

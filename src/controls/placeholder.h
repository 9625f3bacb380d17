#pragma once

class QAbstractScrollArea;
class QString;

// Says in the middle of an empty list or grid what to do next. Called while its viewport is painted.
void paintPlaceholder(QAbstractScrollArea &area, const QString &text);

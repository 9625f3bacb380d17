#pragma once

#include <QTest>

// One row of a test's table; literals become QStrings.
template <class... Values>
void row(const char *name, const Values &...values)
{
    QTestData &data = QTest::newRow(name);
    (void(data << values), ...);
}

// The rows "built in" and "odbc" of tests that both kinds of connection have to pass. Called in
// initTestCase_data(), for every test of a class.
inline void addBothConnections()
{
    QTest::addColumn<bool>("isBuiltIn");
    row("built in", true);
    row("odbc", false);
}

inline bool isBuiltIn()
{
    return *static_cast<bool *>(QTest::qGlobalData("isBuiltIn", qMetaTypeId<bool>()));
}

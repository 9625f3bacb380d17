#pragma once

#include <QTest>

// One row of a test's table; literals become QStrings.
template <class... Values>
void row(const char *name, const Values &...values)
{
    QTestData &data = QTest::newRow(name);
    (void(data << values), ...);
}

// The columns of Rows; Qt keeps the pointers.
inline constexpr const char *rowColumns[] = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"};

// The table of a test, made in its data function:
//     const Rows<QString, bool> row;
//     row("a name", "text", true);
// and taken by the test itself:
//     const auto [text, isSo] = fetched<QString, bool>();
template <class... Values>
class Rows {
public:
    Rows()
    {
        const auto *column = rowColumns;
        (void(QTest::addColumn<Values>(*column++)), ...);
    }
    void operator()(const char *name, const Values &...values) const { ::row(name, values...); }
};

template <class... Values>
std::tuple<Values...> fetched()
{
    // In braces, so that they are taken in their order.
    auto next = [column = rowColumns]() mutable { return *column++; };
    return std::tuple<Values...>{*static_cast<Values *>(QTest::qData(next(), qMetaTypeId<Values>()))...};
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

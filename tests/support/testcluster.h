#pragma once

#include "support/testserver.h"

#include <array>

// Three nodes of one Galera cluster on 127.0.0.1, each a private server that may be killed and frozen; what
// is committed on one is soon on the others. Takes five seconds to start: once for a test program is enough.
class TestCluster {
public:
    static constexpr int size = 3;

    static QByteArray whyMissing(); // empty: Galera is here

    TestCluster();
    TestCluster(const TestCluster &) = delete;
    TestCluster &operator=(const TestCluster &) = delete;

    TestServer &node(int index) { return *m_nodes[static_cast<std::size_t>(index)]; }
    std::vector<int> ports() const;

    // Runs statements on one node, which first applies all that was committed on any.
    QString run(const QString &statements, const QString &database = {}, int index = 0);
    // A node that is not ready refuses most statements (1047), as it does when it has lost the others.
    void setReady(int index, bool isReady);

private:
    void waitUntilReady(int index);

    QTemporaryDir m_folder; // of the program that hands their position over to joining nodes
    std::array<std::unique_ptr<TestServer>, size> m_nodes;
};

#define SKIP_WITHOUT_CLUSTER()                                                                               \
    if (const QByteArray missing = TestCluster::whyMissing(); !missing.isEmpty())                            \
    QSKIP(missing.constData())

#pragma once

#include <QByteArrayList>
#include <QLockFile>
#include <QTcpServer>

namespace kelmo {

/// A recorder as far as the editor can see: it listens on the recorder's port and keeps what it is told. Only one can
/// run on a machine, so tests of several processes wait for each other. Owned by the test; main thread only.
class RecorderStandIn {
public:
    RecorderStandIn();

    /// Reserves the port for this test without answering on it: connections are refused.
    [[nodiscard]] bool reserve();
    /// False when some other program has the port.
    [[nodiscard]] bool listen();

    /// The requests so far, each as it came over the wire.
    [[nodiscard]] const QByteArrayList& requests() const { return m_requests; }

private:
    void serve(QTcpSocket* connection);

    QLockFile m_lock;
    QTcpServer m_server;
    QByteArrayList m_requests;
};

} // namespace kelmo

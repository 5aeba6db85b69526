#pragma once

#include "Chat/ChatTransfer.h"

#include <QThread>

namespace corvid {

/**
 * The thread that all chat transfers run in. What Qt does on the way of a request where it is
 * made (loading TLS and its certificates, asking for the proxy) takes longer than the main
 * thread may be blocked. The thread starts with the first transfer. Main thread only, except for
 * the transfers' handlers, which run in the network thread.
 */
class ChatTransport {
public:
    ChatTransport() = default;
    ChatTransport(const ChatTransport &) = delete;
    ChatTransport &operator=(const ChatTransport &) = delete;
    /** Closes every transfer; afterwards no handler runs. */
    ~ChatTransport();

    /** The id is the caller's and not in use. */
    void start(quint64 id, ChatTransfer::Request request, ChatTransfer::Handlers handlers);

    /** Closes a transfer soon; nothing when it has ended. Handlers may still run meanwhile. */
    void cancel(quint64 id);

private:
    class Worker;
    QThread thread_;
    Worker *worker_ = nullptr; ///< lives in the thread and ends with it
};

} // namespace corvid

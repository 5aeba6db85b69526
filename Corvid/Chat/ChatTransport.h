#pragma once

#include "Chat/ChatTransfer.h"

#include <QThread>

namespace corvid {

/**
 * The thread that all chat transfers run in: to start a request, Qt loads TLS and its certificates
 * and asks for the proxy, which takes longer than the main thread may be blocked. It starts with
 * the first transfer. Main thread only, except for the transfers' handlers, which run in the
 * thread.
 */
class ChatTransport {
public:
    ChatTransport() = default;
    ChatTransport(const ChatTransport &) = delete;
    ChatTransport &operator=(const ChatTransport &) = delete;
    /** Closes every transfer; afterwards no handler runs. */
    ~ChatTransport();

    /** The caller chooses the id, which must not be in use. */
    void start(quint64 id, ChatTransfer::Request request, ChatTransfer::Handlers handlers);

    /** Closes a transfer soon, if it has not ended. Until then its handlers may still run. */
    void cancel(quint64 id);

private:
    class Worker;
    QThread thread_;
    Worker *worker_ = nullptr; ///< lives in the thread and ends with it
};

} // namespace corvid

// How fast an answer shows and what it costs the panel, seen from outside: a server on this
// machine streams to the real program, and the time until pixels have changed is taken from the X
// server's own reports of damage.
//
//   AnswerBench <rounds> <seconds> <program> [argument]...
//
// on the display of the environment, with a window manager on it. The program gets a home folder
// of its own. Prints one line of JSON, all in milliseconds:
//
//   first    median and p95: from the sending of an answer's first words to the change of pixels
//            where they stand
//   idle     median, p99, longest: how long the window takes to answer a ping, one each
//            millisecond, while a short answer stands in it for ten seconds
//            and how much the main thread worked at most within one of these waits: what a longest
//            wait has beyond that, the machine had something better to do
//   stream   the same, while an answer in Markdown grows by a thousand words a second:
//            paragraphs, lists, code and tables by turns
//   tokens   so many were sent
//   end      from the sending of the last word to the last change of pixels
//
// A ping is answered by the main thread in its turn: it waits as long as a key press would.

#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "Screen.h"
#include "Worlds/ChatServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstring>
#include <future>
#include <unordered_map>

using namespace corvid::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

using Connection = corvid::test::ChatServer::Connection;
using Request = corvid::test::ChatServer::Request;

constexpr xcb_keycode_t keyEscape = 9;
constexpr xcb_keycode_t keyReturn = 36;
constexpr xcb_keycode_t keyShift = 50;
constexpr xcb_keycode_t beginning[] = {38, 31, 65, 24}; // a i space q
constexpr auto pingInterval = 1ms;
constexpr auto tokenInterval = 1ms;
constexpr auto idleTime = 10s;
constexpr int wordsOfBlock = 120;

// Within the window, where the first words of an answer stand and nothing else moves: to the right
// of the progress indicator.
constexpr xcb_rectangle_t words{60, 90, 120, 60};
const QByteArray firstWords = "\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588";

/** A server whose answers the benchmark sends itself, one at a time. */
class Endpoint {
public:
    /** The connection of a question that is asked after this call; null when none is. */
    class Question {
    public:
        explicit Question(Endpoint &endpoint) {
            const std::scoped_lock lock(endpoint.mutex_);
            endpoint.waiting_ = this;
        }
        Question(const Question &) = delete;
        Question &operator=(const Question &) = delete;
        ~Question() { answered_.set_value(); }

        Connection &connection() {
            auto asked = asked_.get_future();
            if (asked.wait_for(longestWait) != std::future_status::ready)
                fail("nothing was asked");
            return *asked.get();
        }

    private:
        friend Endpoint;
        std::promise<Connection *> asked_;
        std::promise<void> answered_;
    };

    QString baseURL() const { return server_.baseURL(); }

private:
    void serve(Connection &connection, const Request &request) {
        if (!request.body.contains("\"stream\":true")) {
            connection.send("HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n");
            return;
        }
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
        std::future<void> answered;
        {
            const std::scoped_lock lock(mutex_);
            Question *question = std::exchange(waiting_, nullptr);
            if (!question)
                return;
            answered = question->answered_.get_future();
            question->asked_.set_value(&connection);
        }
        answered.wait();
    }

    std::mutex mutex_;
    Question *waiting_ = nullptr;
    corvid::test::ChatServer server_{
        [this](Connection &connection, const Request &request) { serve(connection, request); }};
};

QByteArray piece(const QByteArray &text) {
    return R"(data: {"choices":[{"delta":{"content":")" + text + "\"}}]}\n\n";
}

/** When the pixels changed from what they were. */
Clock::time_point changed(const Display &display, xcb_window_t window,
                          const std::vector<uint8_t> &before) {
    const Clock::time_point deadline = Clock::now() + longestWait;
    while (Clock::now() < deadline) {
        pollfd socket{xcb_get_file_descriptor(display.connection()), POLLIN, 0};
        const Reply<xcb_generic_event_t> event(xcb_poll_for_event(display.connection()));
        if (!event) {
            poll(&socket, 1, 100);
            continue;
        }
        const Clock::time_point reported = Clock::now();
        if (display.isDamage(*event) && display.pixels(window, words) != before)
            return reported;
    }
    fail("no answer shows");
}

double firstWordsTime(Display &display, xcb_window_t window, Endpoint &endpoint, int round) {
    Endpoint::Question asked(endpoint);
    display.tap(keyReturn);
    Connection &connection = asked.connection();
    // Until the empty answer is painted; by the odd millisecond more each time, so that the words
    // come at every moment of the progress indicator's steps.
    std::this_thread::sleep_for(150ms + 7ms * (round % 30));
    const std::vector<uint8_t> before = display.pixels(window, words);
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(display.connection())}) {
    }
    const Clock::time_point sent = Clock::now();
    connection.send(piece(firstWords));
    const Clock::time_point painted = changed(display, window, before);
    display.tap(keyEscape);
    connection.waitForClose();
    display.settled(quiet);
    return Milliseconds(painted - sent).count();
}

struct Waits {
    std::vector<double> milliseconds;
    double mostWork = 0;
    Clock::time_point lastDamage;
};

/** Pings the window until told to stop, and then until all pings are answered and all is painted.
 */
class Pinger {
public:
    Pinger(Display &display, xcb_window_t window, const Program &program)
        : display_(display), window_(window), program_(program) {
        ping_ = atom("_NET_WM_PING");
        protocols_ = atom("WM_PROTOCOLS");
        // Toolkits differ in whom they send the answer to.
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(display.connection(), display.root(), XCB_CW_EVENT_MASK,
                                     &mask);
    }

    Waits run(const std::function<bool()> &goesOn) {
        Waits waits;
        std::unordered_map<uint32_t, Ping> sent;
        uint32_t number = 0;
        Clock::time_point next = Clock::now();
        Clock::time_point end = next + longestWait;
        bool pinging = true;
        while (pinging || !sent.empty() || Clock::now() < waits.lastDamage + quiet) {
            if (Clock::now() > end && !pinging)
                fail("the window does not answer");
            if (pinging && Clock::now() >= next) {
                next += pingInterval;
                ++number;
                const double cpu = program_.mainThreadCpu();
                sent[number] = {send(number), cpu};
                pinging = goesOn();
                end = Clock::now() + longestWait;
            }
            while (
                const Reply<xcb_generic_event_t> event{xcb_poll_for_event(display_.connection())}) {
                const Clock::time_point now = Clock::now();
                if (display_.isDamage(*event))
                    waits.lastDamage = now;
                else if (const std::optional<uint32_t> answered = answeredPing(*event))
                    if (const auto found = sent.extract(*answered)) {
                        const Ping &ping = found.mapped();
                        waits.milliseconds.push_back(Milliseconds(now - ping.sent).count());
                        waits.mostWork =
                            std::max(waits.mostWork, program_.mainThreadCpu() - ping.cpu);
                    }
            }
            wait(pinging ? next : Clock::now() + 10ms);
        }
        return waits;
    }

private:
    struct Ping {
        Clock::time_point sent;
        double cpu; ///< of the main thread until then
    };

    xcb_atom_t atom(const char *name) const {
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(display_.connection(),
                                  xcb_intern_atom(display_.connection(), false,
                                                  static_cast<uint16_t>(strlen(name)), name),
                                  nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }

    Clock::time_point send(uint32_t number) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window_;
        event.type = protocols_;
        event.data.data32[0] = ping_;
        event.data.data32[1] = number;
        event.data.data32[2] = window_;
        xcb_send_event(display_.connection(), false, window_, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char *>(&event));
        const Clock::time_point sent = Clock::now();
        xcb_flush(display_.connection());
        return sent;
    }

    std::optional<uint32_t> answeredPing(const xcb_generic_event_t &event) const {
        if ((event.response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return std::nullopt;
        const auto &message = reinterpret_cast<const xcb_client_message_event_t &>(event);
        if (message.type != protocols_ || message.data.data32[0] != ping_)
            return std::nullopt;
        return message.data.data32[1];
    }

    void wait(Clock::time_point until) const {
        const auto left = until - Clock::now();
        if (left <= 0ms)
            return;
        timespec time{0, std::chrono::nanoseconds(left).count()};
        pollfd socket{xcb_get_file_descriptor(display_.connection()), POLLIN, 0};
        ppoll(&socket, 1, &time, nullptr);
    }

    Display &display_;
    xcb_window_t window_;
    const Program &program_;
    xcb_atom_t ping_ = XCB_ATOM_NONE;
    xcb_atom_t protocols_ = XCB_ATOM_NONE;
};

void printWaits(const char *name, Waits all) {
    std::vector<double> &waits = all.milliseconds;
    std::ranges::sort(waits);
    std::printf(", \"%s\": [%.2f, %.2f, %.2f, %.2f]", name, waits[waits.size() / 2],
                waits[waits.size() * 99 / 100], waits.back(), all.mostWork);
}

/** Words at their times, whatever the sending of one took. */
class Stream {
public:
    Stream(Connection &connection, std::chrono::seconds length)
        : thread_([this, &connection, length](const std::stop_token &) {
              const Clock::time_point begin = Clock::now();
              for (; tokens_ * tokenInterval < length; ++tokens_) {
                  std::this_thread::sleep_until(begin + tokens_ * tokenInterval);
                  connection.send(piece(word(tokens_)));
              }
              last_ = Clock::now();
              connection.send("data: [DONE]\n\n");
              done_ = true;
          }) {}

    bool goesOn() const { return !done_; }
    /** What follows counts only when it is done. */
    int tokens() const { return tokens_; }
    Clock::time_point last() const { return last_; }

private:
    // What comes at that place, as it stands in JSON.
    static QByteArray word(int index) {
        static const QByteArray words[] = {"the",     "**answer**", "grows", "by",
                                           "*every*", "`word`",     "that",  "comes"};
        struct Block {
            QByteArray begin;
            QByteArray between; ///< every eight words
            QByteArray end;
        };
        static const Block blocks[] = {{"", "", ""},
                                       {"- ", "\\n- ", ""},
                                       {"```\\n", "\\n", "\\n```"},
                                       {"|a|b|\\n|-|-|\\n|", "|\\n|", "|"}};
        const Block &block = blocks[index / wordsOfBlock % std::size(blocks)];
        const int place = index % wordsOfBlock;
        if (place == wordsOfBlock - 1)
            return "end." + block.end + "\\n\\n";
        const QByteArray before =
            place == 0 ? block.begin : (place % 8 == 0 ? block.between : QByteArray());
        return before + words[place % 8] + ' ';
    }
    int tokens_ = 0;
    Clock::time_point last_;
    std::atomic<bool> done_ = false;
    std::jthread thread_; ///< last: it uses the others
};

void makeHome(const QString &home, const Endpoint &endpoint) {
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_DATA_DIRS", home.toLocal8Bit());
    for (const char *name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
        qunsetenv(name);
    QDir(home).mkpath(u".config/Corvid"_s);
    QFile settings(home + u"/.config/Corvid/defaults.json"_s);
    if (!settings.open(QIODevice::WriteOnly) ||
        !corvid::FileSecretStore().set(u"ai-api-key"_s, u"key"_s))
        fail("no home folder");
    settings.write(R"({"aiBaseURL": ")" + endpoint.baseURL().toUtf8() + R"("})");
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 4)
        fail("usage: AnswerBench <rounds> <seconds> <program> [argument]...");
    const int rounds = std::atoi(argv[1]);
    const std::chrono::seconds length(std::atoi(argv[2]));

    Endpoint endpoint;
    const QTemporaryDir home;
    makeHome(home.path(), endpoint);
    Display display;
    display.tap(keyShift); // the first key of a fresh display is lost
    const Program program(argv + 3, "--show");
    std::optional<xcb_window_t> window;
    Display::await("the window does not appear", [&] {
        window = display.named("Corvid");
        return window && display.isViewable(*window) && display.hasFocus(*window);
    });
    display.settled(500ms);
    for (const xcb_keycode_t letter : beginning)
        display.tap(letter);
    // The request for what the query means is over by then.
    std::this_thread::sleep_for(1s);

    std::vector<double> firsts;
    firsts.reserve(static_cast<std::size_t>(rounds));
    for (int round = 0; round < rounds; ++round)
        firsts.push_back(firstWordsTime(display, *window, endpoint, round));
    const auto [median, p95] = summary(firsts);
    std::printf("{\"first\": [%.2f, %.2f]", median, p95);

    Pinger pinger(display, *window, program);
    Endpoint::Question asked(endpoint);
    display.tap(keyReturn);
    Connection &connection = asked.connection();
    connection.send(piece("begin\\n\\n"));
    std::this_thread::sleep_for(500ms); // never settled: a sign shows that more is coming
    const Clock::time_point idleEnd = Clock::now() + idleTime;
    printWaits("idle", pinger.run([&] { return Clock::now() < idleEnd; }));
    const Stream stream(connection, length);
    const Waits waits = pinger.run([&] { return stream.goesOn(); });
    printWaits("stream", waits);
    std::printf(", \"tokens\": %d, \"end\": %.2f}\n", stream.tokens(),
                Milliseconds(waits.lastDamage - stream.last()).count());
}

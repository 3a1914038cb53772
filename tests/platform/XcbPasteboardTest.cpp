// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbPasteboard.h"

#include "Platform/Qt/QtMainQueue.h"
#include "tests/contracts/PasteboardContract.h"
#include "tests/platform/ForeignClient.h"
#include "tests/platform/XUser.h"

#include <QElapsedTimer>
#include <QProcess>

#include <array>
#include <atomic>
#include <csignal>

namespace velmorin {
namespace {

using namespace std::chrono_literals;
using test::ForeignClient;
using test::waitUntil;

const QString kPlainText = QLatin1String(NSPasteboardTypeString);

/// Larger than one request carries, in both directions.
const QString kLongText = QStringLiteral("لا اله ثممخ ").repeated(100'000);

/// The xclip program on the clipboard: another application, in a process of its own.
class Xclip {
public:
    explicit Xclip(const QStringList& arguments) {
        m_process.start(QStringLiteral("xclip"),
                        QStringList{QStringLiteral("-selection"), QStringLiteral("clipboard")} +
                            arguments);
    }
    ~Xclip() {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Has copied `bytes` when this returns, and serves them as long as the object lives.
    static std::unique_ptr<Xclip> copy(Pasteboard& pasteboard, const QByteArray& bytes,
                                       const QString& target = QStringLiteral("UTF8_STRING")) {
        const qint64 before = pasteboard.changeCount();
        auto xclip = std::make_unique<Xclip>(
            QStringList{QStringLiteral("-quiet"), QStringLiteral("-t"), target});
        xclip->m_process.write(bytes);
        xclip->m_process.closeWriteChannel();
        EXPECT_TRUE(waitUntil([&] { return pasteboard.changeCount() != before; }));
        return xclip;
    }

    /// What it prints until it ends; we serve it meanwhile.
    QByteArray output() {
        EXPECT_TRUE(waitUntil([this] { return m_process.state() == QProcess::NotRunning; }));
        return m_process.readAllStandardOutput();
    }

    void signal(int number) const { ::kill(static_cast<pid_t>(m_process.processId()), number); }

private:
    QProcess m_process;
};

QByteArray paste(const QString& target) {
    return Xclip({QStringLiteral("-o"), QStringLiteral("-t"), target}).output();
}
QByteArray paste() {
    return paste(QStringLiteral("UTF8_STRING"));
}

/// The main queue, run by hand.
class ManualQueue : public MainQueue {
public:
    void async(Block block) override { m_blocks.push_back(std::move(block)); }
    void asyncAfter(std::chrono::nanoseconds /*delay*/, Block block) override {
        m_blocks.push_back(std::move(block));
    }
    void runAll() {
        for (const Block& block : std::exchange(m_blocks, {})) {
            block();
        }
    }

private:
    std::vector<Block> m_blocks;
};

class XcbPort {
public:
    Pasteboard& pasteboard() { return m_pasteboard; }
    void copyText(const QString& text) { m_other = Xclip::copy(m_pasteboard, text.toUtf8()); }
    void copyImage() {
        m_other = Xclip::copy(m_pasteboard, "\x89PNG\r\n", QStringLiteral("image/png"));
    }

private:
    XcbPasteboard m_pasteboard{XcbConnection::open(), std::make_shared<QtMainQueue>()};
    std::unique_ptr<Xclip> m_other;
};

INSTANTIATE_TYPED_TEST_SUITE_P(XcbPasteboard, PasteboardContract, XcbPort);

class XcbPasteboardTest : public testing::Test {
protected:
    std::optional<QString> read() {
        QElapsedTimer timer;
        timer.start();
        std::optional<QString> text = m_pasteboard.string(kPlainText);
        EXPECT_LT(timer.elapsed(), 2000) << "reading must not wait for an owner that hangs";
        return text;
    }
    void set(const QString& text) { EXPECT_TRUE(m_pasteboard.setString(text, kPlainText)); }

    std::shared_ptr<ManualQueue> m_queue = std::make_shared<ManualQueue>();
    XcbPasteboard m_pasteboard{XcbConnection::open(), m_queue};
};

TEST_F(XcbPasteboardTest, OffersTextAndTheHintForClipboardHistories) {
    set(QStringLiteral("caf\u00e9"));
    EXPECT_EQ(paste(QStringLiteral("TARGETS")),
              "TARGETS\nTIMESTAMP\nMULTIPLE\nUTF8_STRING\ntext/plain;charset=utf-8\ntext/plain\n"
              "TEXT\nx-kde-passwordManagerHint\nSTRING\n");
    EXPECT_EQ(paste(QStringLiteral("x-kde-passwordManagerHint")), "secret");
    EXPECT_EQ(paste(), "caf\xc3\xa9");
    EXPECT_EQ(paste(QStringLiteral("STRING")), "caf\xe9");
    EXPECT_EQ(paste(QStringLiteral("text/plain")), "caf\xc3\xa9");

    set(QStringLiteral("ا"));
    EXPECT_FALSE(paste(QStringLiteral("TARGETS")).contains("\nSTRING\n"));
    EXPECT_EQ(paste(QStringLiteral("STRING")), "");
    EXPECT_EQ(paste(QStringLiteral("TEXT")), "\xd8\xa7");
}

TEST_F(XcbPasteboardTest, ClearedHasAnOwnerButNoContents) {
    set(QStringLiteral("text"));
    m_pasteboard.clearContents();
    EXPECT_EQ(paste(QStringLiteral("TARGETS")), "TARGETS\nTIMESTAMP\nMULTIPLE\n");
    EXPECT_EQ(paste(), "");
}

TEST_F(XcbPasteboardTest, SendsALongTextToSeveralReadersAtOnce) {
    set(kLongText);
    const QStringList arguments{QStringLiteral("-o"), QStringLiteral("-t"),
                                QStringLiteral("UTF8_STRING")};
    Xclip first(arguments);
    Xclip second(arguments);
    EXPECT_EQ(first.output(), kLongText.toUtf8());
    EXPECT_EQ(second.output(), kLongText.toUtf8());
}

TEST_F(XcbPasteboardTest, ReceivesALongText) {
    const auto owner = Xclip::copy(m_pasteboard, kLongText.toUtf8());
    EXPECT_EQ(read(), kLongText);
    EXPECT_EQ(read(), kLongText);
}

TEST_F(XcbPasteboardTest, AStoppedOwnerCostsABoundedWaitAndLaterReadsAreRight) {
    for (const QString& text : {QStringLiteral("short"), kLongText}) {
        const auto owner = Xclip::copy(m_pasteboard, text.toUtf8());
        owner->signal(SIGSTOP);
        EXPECT_EQ(read(), std::nullopt);
        EXPECT_EQ(read(), std::nullopt);
        owner->signal(SIGCONT);
        EXPECT_TRUE(waitUntil([&] { return read() == text; }));
    }
}

TEST_F(XcbPasteboardTest, AKilledOwnerLeavesNothing) {
    const auto owner = Xclip::copy(m_pasteboard, "text");
    const qint64 before = m_pasteboard.changeCount();
    owner->signal(SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return m_pasteboard.changeCount() != before; }));
    EXPECT_EQ(read(), std::nullopt);
}

TEST_F(XcbPasteboardTest, ALossIsForgottenOnceThePasteboardIsTakenBack) {
    set(QStringLiteral("first"));
    const auto other = XcbConnection::open();
    xcb_set_selection_owner(other->get(), other->window(), other->atom("CLIPBOARD"),
                            other->serverTime());
    std::ignore = other->serverTime(); // waits until it is done, while our event loop stands
    set(QStringLiteral("second"));
    EXPECT_EQ(paste(), "second");
    EXPECT_EQ(read(), QStringLiteral("second"));
}

/// A client on this thread that asks for the clipboard, step by step.
class Requestor {
public:
    /// Asks for `target` in `property` and waits for the answer.
    [[nodiscard]] bool ask(const char* target, const char* property,
                           xcb_timestamp_t time = XCB_CURRENT_TIME) {
        bool isAnswered = false;
        bool isDelivered = false;
        const auto events = m_connection->addHandler([&](const xcb_generic_event_t& event) {
            if (eventType(event) == XCB_SELECTION_NOTIFY) {
                isAnswered = true;
                isDelivered = eventAs<xcb_selection_notify_event_t>(event).property != 0;
            }
        });
        xcb_convert_selection(c(), m_window, m_connection->atom("CLIPBOARD"),
                              m_connection->atom(target), m_connection->atom(property), time);
        m_connection->flush();
        return waitUntil([&] { return isAnswered; }) && isDelivered;
    }

    [[nodiscard]] XcbConnection::Property take(const char* property) {
        return m_connection->property(m_window, m_connection->atom(property), 1U << 20U, true);
    }
    void put(const char* property, const std::vector<const char*>& atoms) {
        std::vector<xcb_atom_t> values;
        for (const char* name : atoms) {
            values.push_back(m_connection->atom(name));
        }
        xcb_change_property(c(), XCB_PROP_MODE_REPLACE, m_window, m_connection->atom(property),
                            m_connection->atom("ATOM_PAIR"), 32,
                            static_cast<uint32_t>(values.size()), values.data());
    }
    [[nodiscard]] xcb_timestamp_t serverTime() { return m_connection->serverTime(); }
    void destroyWindow() { xcb_destroy_window(c(), m_window); }
    [[nodiscard]] xcb_atom_t atom(const char* name) { return m_connection->atom(name); }

private:
    [[nodiscard]] xcb_connection_t* c() const { return m_connection->get(); }
    static xcb_window_t makeWindow(const XcbConnection& connection) {
        const xcb_window_t window = xcb_generate_id(connection.get());
        xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0,
                          1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        return window;
    }

    std::shared_ptr<XcbConnection> m_connection = XcbConnection::open();
    xcb_window_t m_window = makeWindow(*m_connection);
};

TEST_F(XcbPasteboardTest, ItsTextOutlivesTheProgramWhereThereIsAManager) {
    set(QStringLiteral("the user's"));
    QByteArray saved;
    {
        const ForeignClient manager(
            [&](ForeignClient& self, const ForeignClient::Request& request) {
                saved = self.paste();
                self.notify(request, request.property);
            },
            "CLIPBOARD_MANAGER");
        EXPECT_TRUE(QMetaObject::invokeMethod(QCoreApplication::instance(), "aboutToQuit"));
    }
    EXPECT_EQ(saved, "the user's");
}

TEST_F(XcbPasteboardTest, AnswersSeveralTargetsInOneRequest) {
    set(QStringLiteral("ا"));
    Requestor client;
    client.put("PAIRS", {"UTF8_STRING", "A", "STRING", "B", "TIMESTAMP", "C"});
    ASSERT_TRUE(client.ask("MULTIPLE", "PAIRS"));
    EXPECT_EQ(client.take("A").bytes, "\xd8\xa7");
    EXPECT_EQ(client.take("B").type, xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_EQ(client.take("C").format, 32);
    std::array<xcb_atom_t, 6> pairs{};
    const QByteArray answer = client.take("PAIRS").bytes;
    ASSERT_EQ(answer.size(), qsizetype{sizeof pairs});
    std::memcpy(pairs.data(), answer.constData(), sizeof pairs);
    EXPECT_EQ(pairs[0], client.atom("UTF8_STRING"));
    EXPECT_EQ(pairs[2], xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_EQ(pairs[4], client.atom("TIMESTAMP"));
}

TEST_F(XcbPasteboardTest, ARequestFromBeforeTheTextWasSetDoesNotGetIt) {
    Requestor client;
    const xcb_timestamp_t before = client.serverTime();
    ASSERT_TRUE(waitUntil([&] { return client.serverTime() != before; }));
    set(QStringLiteral("restored"));
    EXPECT_FALSE(client.ask("UTF8_STRING", "A", before));
    EXPECT_TRUE(client.ask("UTF8_STRING", "A", client.serverTime()));
}

TEST_F(XcbPasteboardTest, ALateReaderGetsTheTextOfItsTime) {
    Requestor client;
    const auto laterTime = [&] {
        const xcb_timestamp_t time = client.serverTime();
        EXPECT_TRUE(waitUntil([&] { return client.serverTime() != time; }));
        return time;
    };
    set(QStringLiteral("earlier"));
    std::ignore = laterTime();
    set(QStringLiteral("pasted"));
    const xcb_timestamp_t paste = laterTime();
    m_pasteboard.clearContents();
    const xcb_timestamp_t cleared = laterTime();
    set(QStringLiteral("restored"));
    ASSERT_TRUE(client.ask("UTF8_STRING", "A", paste));
    EXPECT_EQ(client.take("A").bytes, "pasted");
    EXPECT_FALSE(client.ask("UTF8_STRING", "A", cleared));
    ASSERT_TRUE(client.ask("UTF8_STRING", "A"));
    EXPECT_EQ(client.take("A").bytes, "restored");
    m_queue->runAll(); // it is late no more, but long ago
    EXPECT_FALSE(client.ask("UTF8_STRING", "A", paste));
    EXPECT_TRUE(client.ask("UTF8_STRING", "A"));
}

TEST_F(XcbPasteboardTest, AReaderThatTakesNothingIsDropped) {
    set(kLongText);
    Requestor client;
    const auto nextPiece = [&] { // the answer to a later request comes after the piece
        EXPECT_TRUE(client.ask("TIMESTAMP", "LATER"));
        return client.take("A");
    };
    ASSERT_TRUE(client.ask("UTF8_STRING", "A"));
    EXPECT_EQ(client.take("A").type, client.atom("INCR"));
    EXPECT_GT(nextPiece().bytes.size(), 0);
    m_queue->runAll();
    EXPECT_GT(nextPiece().bytes.size(), 0) << "it moved since the transfer began";
    EXPECT_TRUE(client.ask("TIMESTAMP", "LATER"));
    m_queue->runAll();
    m_queue->runAll();
    EXPECT_GT(client.take("A").bytes.size(), 0) << "sent before";
    EXPECT_EQ(nextPiece().type, xcb_atom_t{XCB_ATOM_NONE});
}

TEST_F(XcbPasteboardTest, AReaderThatVanishesHarmsNobody) {
    set(kLongText);
    {
        Requestor destroyed;
        Requestor disconnected;
        ASSERT_TRUE(destroyed.ask("UTF8_STRING", "A"));
        ASSERT_TRUE(disconnected.ask("UTF8_STRING", "A"));
        std::ignore = destroyed.take("A");
        std::ignore = disconnected.take("A");
        destroyed.destroyWindow();
    }
    EXPECT_EQ(paste(), kLongText.toUtf8());
}

ForeignClient::NextPiece pieces(std::vector<std::optional<QByteArray>> list) {
    return [list = std::move(list), next = size_t{0}]() mutable {
        return next < list.size() ? list[next++] : std::nullopt;
    };
}

TEST_F(XcbPasteboardTest, BelievesNoOwner) {
    using Request = ForeignClient::Request;
    const auto deliver = [](const QByteArray& bytes, uint8_t format = 8) {
        return [=](ForeignClient& o, const Request& r) { o.deliver(r, r.target, bytes, format); };
    };
    const auto notify = [](bool isDelivered) {
        return [=](ForeignClient& o, const Request& r) {
            o.notify(r, isDelivered ? r.property : xcb_atom_t{XCB_ATOM_NONE});
        };
    };
    const auto send = [](const ForeignClient::NextPiece& next, xcb_atom_t type = XCB_ATOM_NONE) {
        return [=](ForeignClient& o, const Request& r) {
            o.sendPieces(r, type == XCB_ATOM_NONE ? r.target : type, next);
        };
    };
    const QByteArray end("");
    const struct {
        const char* name;
        ForeignClient::Answer answer;
        std::optional<QString> expected = std::nullopt;
    } cases[] = {
        {"never answers", [](ForeignClient&, const Request&) {}},
        {"refuses all", notify(false)},
        {"writes nothing", notify(true)},
        {"other type",
         [](ForeignClient& o, const Request& r) { o.deliver(r, XCB_ATOM_PIXMAP, "abcd"); }},
        {"format 16", deliver("abcd", 16)},
        {"invalid UTF-8", deliver("ab\xff")},
        {"cut off UTF-8", deliver("ab\xd8")},
        {"surrogates", deliver("\xed\xa0\x80")},
        {"empty", deliver(end), QStringLiteral("")},
        {"byte order mark", deliver(QByteArray("\xef\xbb\xbf") + "a"), QStringLiteral("\uFEFFa")},
        {"Latin-1 only",
         [](ForeignClient& o, const Request& r) {
             r.target == XCB_ATOM_STRING ? o.deliver(r, r.target, "\xe9")
                                         : o.notify(r, XCB_ATOM_NONE);
         },
         QStringLiteral("\u00e9")},
        {"pieces that part a character, of another size than announced",
         send(pieces({"a\xd8", "\xa7", end})), QStringLiteral("aا")},
        {"stops between pieces", send(pieces({"a"}))},
        {"pieces of another type", send(pieces({"a", end}), XCB_ATOM_PIXMAP)},
        {"pieces without end", send([] { return "x"; })},
        {"a flood", send([] { return QByteArray(4 << 20, 'x'); })},
    };
    for (const auto& [name, answer, expected] : cases) {
        const ForeignClient owner(answer);
        EXPECT_EQ(read(), expected) << name;
        EXPECT_EQ(read(), expected) << name << ", again";
    }
    const auto honest = Xclip::copy(m_pasteboard, "honest");
    EXPECT_EQ(read(), QStringLiteral("honest"));
}

TEST_F(XcbPasteboardTest, ALateAnswerIsNotTakenForALaterOne) {
    std::optional<ForeignClient::Request> first;
    const ForeignClient owner([&](ForeignClient& self, const ForeignClient::Request& request) {
        if (!first) {
            first = request;
            return;
        }
        self.notify(*first, XCB_ATOM_NONE);
        if (request.target == first->target) {
            self.put(request, request.target, "right");
            self.put(*first, first->target, "late");
            self.notify(*first, first->property);
            self.notify(request, request.property);
        } else {
            self.notify(request, XCB_ATOM_NONE);
        }
    });
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_EQ(read(), QStringLiteral("right"));
    EXPECT_EQ(read(), QStringLiteral("right"));
}

TEST_F(XcbPasteboardTest, ALateOwnerIsRidOfItsPieces) {
    std::optional<ForeignClient::Request> first;
    std::atomic<int> piecesLeft = 10;
    const ForeignClient owner([&](ForeignClient& self, const ForeignClient::Request& request) {
        if (!first) {
            first = request;
            return;
        }
        self.sendPieces(*first, first->target, [&]() -> std::optional<QByteArray> {
            return --piecesLeft >= 0 ? std::optional<QByteArray>("late") : std::nullopt;
        });
        self.deliver(request, request.target, "right");
    });
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_EQ(read(), QStringLiteral("right"));
    EXPECT_TRUE(waitUntil([&] { return piecesLeft <= 0; }));
}

} // namespace
} // namespace velmorin

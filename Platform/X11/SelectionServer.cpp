// SPDX-License-Identifier: MIT
#include "Platform/X11/SelectionServer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>

namespace velmorin {

namespace {

constexpr uint32_t kMaxMultipleTargets = 64;
constexpr auto kLateLimit = std::chrono::seconds(10);

/// Of two numbers of a counter that wraps around.
bool isBefore(uint32_t earlier, uint32_t later) {
    return static_cast<int32_t>(earlier - later) < 0;
}

bool isLatin1(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xff; });
}

template <typename T>
QByteArray bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()),
            static_cast<qsizetype>(values.size() * sizeof(T))};
}

} // namespace

SelectionServer::SelectionServer(std::shared_ptr<XcbConnection> connection,
                                 std::shared_ptr<MainQueue> queue, xcb_atom_t selection)
    : m_connection(std::move(connection)), m_queue(std::move(queue)),
      m_sender(std::make_shared<IncrementalSender>(m_connection, m_queue)),
      m_selection(selection), m_atoms{m_connection->atom("TARGETS"),
                                      m_connection->atom("TIMESTAMP"),
                                      m_connection->atom("MULTIPLE"),
                                      m_connection->atom("ATOM_PAIR"),
                                      m_connection->atom("UTF8_STRING"),
                                      m_connection->atom("text/plain;charset=utf-8"),
                                      m_connection->atom("text/plain"),
                                      m_connection->atom("TEXT"),
                                      m_connection->atom("x-kde-passwordManagerHint")} {}

bool SelectionServer::own(std::optional<QString> text) {
    const auto isOwner = [this] { return currentOwner() == m_connection->window(); };
    if (!m_contents->empty() && !isOwner()) {
        drop(); // somebody else had it meanwhile
    }
    const xcb_timestamp_t now = m_connection->serverTime();
    std::vector<Contents> contents = std::exchange(*m_contents, {});
    if (now == XCB_CURRENT_TIME) {
        return false; // the server has gone
    }
    m_ownedSinceRequest =
        xcb_set_selection_owner(m_connection->get(), m_connection->window(), m_selection, now)
            .sequence;
    if (!isOwner()) {
        return false;
    }
    contents.push_back({std::move(text), now});
    *m_contents = std::move(contents);
    forgetLater(now);
    return true;
}

void SelectionServer::drop() {
    m_contents->clear();
}

void SelectionServer::handOver(const QDeadlineTimer& deadline) {
    const xcb_atom_t manager = m_connection->atom("CLIPBOARD_MANAGER");
    if (!text() || currentOwner() != m_connection->window() ||
        ownerOf(manager) == XCB_WINDOW_NONE) {
        return;
    }
    m_isForHistories = true; // the user's own text, whichever it is
    const xcb_atom_t property = m_connection->atom("VELMORIN_SAVE");
    const std::vector<xcb_atom_t> saved = targets(m_contents->back());
    xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, m_connection->window(),
                        property, XCB_ATOM_ATOM, 32, static_cast<uint32_t>(saved.size()),
                        saved.data());
    xcb_convert_selection(m_connection->get(), m_connection->window(), manager,
                          m_connection->atom("SAVE_TARGETS"), property, m_connection->serverTime());
    // The manager's own requests are answered meanwhile.
    std::ignore = m_connection->waitFor(
        [&](const xcb_generic_event_t& event) {
            return eventType(event) == XCB_SELECTION_NOTIFY &&
                   eventAs<xcb_selection_notify_event_t>(event).selection == manager;
        },
        deadline);
}

std::optional<QString> SelectionServer::text() const {
    return m_contents->empty() ? std::nullopt : m_contents->back().text;
}

void SelectionServer::forgetLater(xcb_timestamp_t replaced) {
    m_queue->asyncAfter(kLateLimit, [weak = std::weak_ptr(m_contents), replaced] {
        if (const auto contents = weak.lock()) {
            std::erase_if(*contents,
                          [&](const Contents& each) { return isBefore(each.since, replaced); });
        }
    });
}

xcb_window_t SelectionServer::currentOwner() const {
    return ownerOf(m_selection);
}

xcb_window_t SelectionServer::ownerOf(xcb_atom_t selection) const {
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

bool SelectionServer::isAwaited(const xcb_generic_event_t& event) const {
    return m_sender->isAwaited(event) ||
           (eventType(event) == XCB_SELECTION_REQUEST &&
            eventAs<xcb_selection_request_event_t>(event).selection == m_selection);
}

void SelectionServer::handleEvent(const xcb_generic_event_t& event) {
    m_sender->handleEvent(event);
    if (eventType(event) == XCB_SELECTION_REQUEST) {
        answer(eventAs<xcb_selection_request_event_t>(event));
    }
    // A loss from before we took the selection back may come to be handled only now.
    if (eventType(event) == XCB_SELECTION_CLEAR &&
        eventAs<xcb_selection_clear_event_t>(event).selection == m_selection &&
        !isBefore(event.full_sequence, m_ownedSinceRequest)) {
        drop();
    }
}

void SelectionServer::answer(const xcb_selection_request_event_t& request) {
    if (request.requestor == m_connection->window()) {
        return; // only another client would make us write to our own window
    }
    // Clients from before the conventions of 1989 name no property.
    const xcb_atom_t property =
        request.property != XCB_ATOM_NONE ? request.property : request.target;
    const Contents* contents =
        request.selection == m_selection ? contentsAt(request.time) : nullptr;
    bool delivered = false;
    if (contents != nullptr) {
        delivered = request.target == m_atoms.multiple
                        ? deliverMultiple(*contents, request.requestor, request.property)
                        : deliver(*contents, request.requestor, property, request.target);
    }
    const xcb_selection_notify_event_t notify{XCB_SELECTION_NOTIFY,
                                              0,
                                              0,
                                              request.time,
                                              request.requestor,
                                              request.selection,
                                              request.target,
                                              delivered ? property : xcb_atom_t{XCB_ATOM_NONE}};
    char event[32] = {}; // the size of every event on the wire
    std::memcpy(event, &notify, sizeof notify);
    xcb_send_event(m_connection->get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event);
}

/// What the selection was at a time; null when it was not ours. A request from before a text must
/// not get it: that would be the user's own text, put back, in the place of what was to be pasted.
const SelectionServer::Contents* SelectionServer::contentsAt(xcb_timestamp_t time) const {
    const auto found =
        std::find_if(m_contents->rbegin(), m_contents->rend(), [&](const Contents& contents) {
            return time == XCB_CURRENT_TIME || !isBefore(time, contents.since);
        });
    return found == m_contents->rend() ? nullptr : &*found;
}

bool SelectionServer::deliver(const Contents& contents, xcb_window_t requestor, xcb_atom_t property,
                              xcb_atom_t target) {
    const std::optional<Value> value = valueAs(contents, target);
    m_sender->cancel(requestor, property);
    if (!value) {
        return false;
    }
    if (value->bytes.size() > m_sender->pieceBytes()) {
        return m_sender->begin(requestor, property, value->type, value->bytes);
    }
    xcb_change_property(
        m_connection->get(), XCB_PROP_MODE_REPLACE, requestor, property, value->type, value->format,
        static_cast<uint32_t>(value->bytes.size() / (value->format / 8)), value->bytes.constData());
    return true;
}

/// The property names pairs of a target and a property; a target that we do not have becomes None.
bool SelectionServer::deliverMultiple(const Contents& contents, xcb_window_t requestor,
                                      xcb_atom_t property) {
    using Pair = std::array<xcb_atom_t, 2>;
    const XcbConnection::Property request =
        m_connection->property(requestor, property, kMaxMultipleTargets * sizeof(Pair));
    const size_t count = static_cast<size_t>(request.bytes.size()) / sizeof(Pair);
    if (property == XCB_ATOM_NONE || request.format != 32 || count > kMaxMultipleTargets) {
        return false;
    }
    std::vector<Pair> pairs(count);
    std::memcpy(pairs.data(), request.bytes.constData(), count * sizeof(Pair));
    for (auto& [target, into] : pairs) {
        if (into == XCB_ATOM_NONE || !deliver(contents, requestor, into, target)) {
            target = XCB_ATOM_NONE;
        }
    }
    xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, requestor, property,
                        m_atoms.atomPair, 32, static_cast<uint32_t>(2 * count), pairs.data());
    return true;
}

std::optional<SelectionServer::Value> SelectionServer::valueAs(const Contents& contents,
                                                               xcb_atom_t target) const {
    if (target == m_atoms.targets) {
        return Value{XCB_ATOM_ATOM, 32, bytesOf(targets(contents))};
    }
    if (target == m_atoms.timestamp) {
        return Value{XCB_ATOM_INTEGER, 32, bytesOf(std::vector{contents.since})};
    }
    const std::optional<QString>& text = contents.text;
    if (!text) {
        return std::nullopt;
    }
    if (target == m_atoms.utf8String || target == m_atoms.utf8Plain || target == m_atoms.plain) {
        return Value{target, 8, text->toUtf8()};
    }
    if (target == m_atoms.text) {
        return Value{m_atoms.utf8String, 8, text->toUtf8()}; // the owner's choice of a type
    }
    if (target == XCB_ATOM_STRING && isLatin1(*text)) {
        return Value{XCB_ATOM_STRING, 8, text->toLatin1()};
    }
    if (target == m_atoms.hint && !m_isForHistories) {
        return Value{target, 8, QByteArrayLiteral("secret")};
    }
    return std::nullopt;
}

std::vector<xcb_atom_t> SelectionServer::targets(const Contents& contents) const {
    std::vector<xcb_atom_t> atoms{m_atoms.targets, m_atoms.timestamp, m_atoms.multiple};
    if (contents.text) {
        atoms.insert(atoms.end(),
                     {m_atoms.utf8String, m_atoms.utf8Plain, m_atoms.plain, m_atoms.text});
        if (!m_isForHistories) {
            atoms.push_back(m_atoms.hint);
        }
        if (isLatin1(*contents.text)) {
            atoms.push_back(XCB_ATOM_STRING);
        }
    }
    return atoms;
}

} // namespace velmorin

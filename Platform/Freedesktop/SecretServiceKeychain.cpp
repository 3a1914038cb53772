// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SecretServiceKeychain.h"

// GLib has a field called `signals`, which is safe here only because Qt's keywords are off.
#include <libsecret/secret.h>

#include <QFile>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr auto kTimeLimit = 800ms; // leaves time to give up within the promised second

template <auto release>
struct Releaser {
    void operator()(auto* handle) const { release(handle); }
};
template <typename T>
using GObjectPointer = std::unique_ptr<T, Releaser<g_object_unref>>;
using AttributesPointer = std::unique_ptr<GHashTable, Releaser<g_hash_table_unref>>;
using ContextPointer = std::unique_ptr<GMainContext, Releaser<g_main_context_unref>>;
using SecretPointer = std::unique_ptr<SecretValue, Releaser<secret_value_unref>>;

struct ItemsReleaser {
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
};
using ItemsPointer = std::unique_ptr<GList, ItemsReleaser>;

const SecretSchema* passwordSchema() {
    static const SecretSchema schema = [] {
        SecretSchema made{};
        made.name = "org.velmorin.GenericPassword";
        made.flags = SECRET_SCHEMA_NONE;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return &schema;
}

constexpr char kPromptRefused[] = "the service wants to prompt";

GVariant* refusePrompt(SecretService*, SecretPrompt*, GCancellable*, const GVariantType*,
                       GError** error) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_PERMISSION_DENIED, kPromptRefused);
    return nullptr;
}

void refusePromptAsync(SecretService* service, SecretPrompt*, const GVariantType*, GCancellable*,
                       GAsyncReadyCallback callback, gpointer userData) {
    g_task_report_new_error(service, callback, userData, nullptr, G_IO_ERROR,
                            G_IO_ERROR_PERMISSION_DENIED, kPromptRefused);
}

GVariant* refusePromptFinish(SecretService*, GAsyncResult* result, GError** error) {
    return static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
}

/// The base class asks for the shared bus connection and for more than is needed; it can only be
/// told otherwise while the object is being constructed.
GObject* constructOnGivenConnection(GType type, guint count, GObjectConstructParam* properties) {
    const auto* const base = static_cast<GObjectClass*>(g_type_class_peek(SECRET_TYPE_SERVICE));
    GObject* const service = base->constructor(type, count, properties);
    g_object_set(service, "g-bus-type", G_BUS_TYPE_NONE, "g-flags",
                 G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES |
                     G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS,
                 nullptr);
    return service;
}

void initServiceClass(gpointer serviceClass, gpointer) {
    static_cast<GObjectClass*>(serviceClass)->constructor = constructOnGivenConnection;
    auto* const service = static_cast<SecretServiceClass*>(serviceClass);
    service->prompt_sync = refusePrompt;
    service->prompt_async = refusePromptAsync;
    service->prompt_finish = refusePromptFinish;
}

/// A proxy of the service on the connection that it is given, whose prompts are never shown: what
/// needs one fails.
GType promptlessServiceType() {
    static const GType type = g_type_register_static_simple(
        SECRET_TYPE_SERVICE, "VelmorinPromptlessSecretService", sizeof(SecretServiceClass),
        initServiceClass, sizeof(SecretService), nullptr, GTypeFlags{});
    return type;
}

/// Cancels what is under way when the time is up.
class TimeLimit {
public:
    TimeLimit() : m_watch([this](const std::stop_token& stop) { watch(stop); }) {}

    [[nodiscard]] GCancellable* cancellable() const { return m_cancellable.get(); }

private:
    void watch(const std::stop_token& stop) {
        std::unique_lock lock(m_mutex);
        const auto isOver = [&stop] { return stop.stop_requested(); };
        if (!m_over.wait_for(lock, stop, kTimeLimit, isOver)) {
            g_cancellable_cancel(m_cancellable.get());
        }
    }

    const GObjectPointer<GCancellable> m_cancellable{g_cancellable_new()};
    std::mutex m_mutex;
    std::condition_variable_any m_over;
    std::jthread m_watch; // last: it uses the others
};

/// Where signals for this thread's proxies go, rather than to the program's own main context.
class PrivateMainContext {
public:
    PrivateMainContext() { g_main_context_push_thread_default(m_context.get()); }
    ~PrivateMainContext() {
        while (g_main_context_iteration(m_context.get(), false)) { // runs what frees subscriptions
        }
        g_main_context_pop_thread_default(m_context.get());
    }
    Q_DISABLE_COPY_MOVE(PrivateMainContext)

private:
    const ContextPointer m_context{g_main_context_new()};
};

/// The service during one call, on a bus connection of the call's own: the shared one of GLib ends
/// the process when the bus goes.
class SecretServiceCall {
public:
    SecretServiceCall(const QByteArray& busAddress, const GenericPassword& password)
        : m_attributes(secret_attributes_build(passwordSchema(), "service",
                                               password.service.toUtf8().constData(), "account",
                                               password.account.toUtf8().constData(), nullptr)) {
        constexpr auto connectionFlags =
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        m_connection.reset(g_dbus_connection_new_for_address_sync(
            busAddress.constData(), connectionFlags, nullptr, m_limit.cancellable(), nullptr));
        if (!m_connection) {
            return;
        }
        m_service.reset(static_cast<SecretService*>(
            g_initable_new(promptlessServiceType(), m_limit.cancellable(), nullptr, "g-connection",
                           m_connection.get(), nullptr)));
    }

    /// The items that match, unlocked ones first; none when that cannot be found out.
    [[nodiscard]] std::optional<ItemsPointer> search(SecretSearchFlags flags) const {
        if (!m_service) {
            return std::nullopt;
        }
        GError* error = nullptr;
        ItemsPointer items(secret_service_search_sync(m_service.get(), passwordSchema(),
                                                      m_attributes.get(), flags,
                                                      m_limit.cancellable(), &error));
        if (error) {
            g_error_free(error);
            return std::nullopt;
        }
        return items;
    }

    [[nodiscard]] bool store(const QByteArray& label, const QByteArray& secret) const {
        const SecretPointer value(
            secret_value_new(secret.constData(), secret.size(), "text/plain"));
        return secret_service_store_sync(m_service.get(), passwordSchema(), m_attributes.get(),
                                         SECRET_COLLECTION_DEFAULT, label.constData(), value.get(),
                                         m_limit.cancellable(), nullptr);
    }

    [[nodiscard]] bool remove(SecretItem* item) const {
        return secret_item_delete_sync(item, m_limit.cancellable(), nullptr);
    }

private:
    const PrivateMainContext m_context; // first: it outlives the proxies
    const TimeLimit m_limit;
    const AttributesPointer m_attributes;
    GObjectPointer<GDBusConnection> m_connection;
    GObjectPointer<SecretService> m_service;
};

} // namespace

SecretServiceKeychain::SecretServiceKeychain(QByteArray busAddress)
    : m_busAddress(std::move(busAddress)) {}

QByteArray SecretServiceKeychain::sessionBusAddress() {
    QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray socket = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    if (!address.isEmpty() || !QFile::exists(QFile::decodeName(socket))) {
        return address;
    }
    const std::unique_ptr<char, Releaser<g_free>> escaped(
        g_dbus_address_escape_value(socket.constData()));
    return QByteArray("unix:path=") + escaped.get();
}

OSStatus SecretServiceKeychain::itemAdd(const QVariantMap& attributes) {
    const auto password = genericPassword(attributes);
    const QVariant secret = attributes.value(kSecValueData);
    if (!password || secret.typeId() != QMetaType::QByteArray) {
        return errSecParam;
    }
    const SecretServiceCall call(m_busAddress, *password);
    const auto items = call.search(SECRET_SEARCH_NONE);
    if (!items) {
        return errSecNotAvailable;
    }
    if (*items) {
        return errSecDuplicateItem;
    }
    const bool isStored = call.store(password->service.toUtf8(), secret.toByteArray());
    return isStored ? errSecSuccess : errSecNotAvailable;
}

OSStatus SecretServiceKeychain::itemCopyMatching(const QVariantMap& query, QVariant& result) {
    const auto password = genericPassword(query);
    if (!password) {
        return errSecParam;
    }
    const bool returnsData = query.value(kSecReturnData).toBool();
    const SecretServiceCall call(m_busAddress, *password);
    const auto items = call.search(returnsData ? SECRET_SEARCH_LOAD_SECRETS : SECRET_SEARCH_NONE);
    if (!items) {
        return errSecNotAvailable;
    }
    if (!*items) {
        return errSecItemNotFound;
    }
    if (!returnsData) {
        return errSecSuccess;
    }
    const SecretPointer secret(secret_item_get_secret(SECRET_ITEM((*items)->data)));
    if (!secret) { // a locked item, or it was too late for loading it
        return errSecNotAvailable;
    }
    gsize length = 0;
    const char* const bytes = secret_value_get(secret.get(), &length);
    result = QByteArray(bytes, static_cast<qsizetype>(length));
    return errSecSuccess;
}

OSStatus SecretServiceKeychain::itemDelete(const QVariantMap& query) {
    const auto password = genericPassword(query);
    if (!password) {
        return errSecParam;
    }
    const SecretServiceCall call(m_busAddress, *password);
    const auto items = call.search(SECRET_SEARCH_ALL);
    if (!items) {
        return errSecNotAvailable;
    }
    OSStatus status = *items ? errSecSuccess : errSecItemNotFound;
    for (const GList* item = items->get(); item; item = item->next) {
        if (!call.remove(SECRET_ITEM(item->data))) {
            status = errSecNotAvailable;
        }
    }
    return status;
}

} // namespace velmorin

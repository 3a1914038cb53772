// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SecretServiceKeychain.h"
#include "tests/WaitUntil.h"
#include "tests/contracts/KeychainContract.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUuid>

#include <csignal>
#include <functional>
#include <memory>

#include <sys/prctl.h>

namespace velmorin {
namespace {

using test::waitUntil;

constexpr int kPatience = 30'000; // ms; generous, for slow machines
constexpr char kSecrets[] = "org.freedesktop.secrets";
constexpr char kSecretsPath[] = "/org/freedesktop/secrets";
constexpr char kDefaultCollection[] = "/org/freedesktop/secrets/aliases/default";

using Attributes = QMap<QString, QString>;

const QVariantMap query = passwordQuery("service", "account");

/// A process that ends with the object at the latest, or with this process.
class Daemon {
public:
    Daemon(const QString& program, const QStringList& arguments, const QProcessEnvironment& env) {
        m_process.setProcessEnvironment(env);
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(program, arguments);
        EXPECT_TRUE(m_process.waitForStarted(kPatience)) << program.toStdString();
    }
    ~Daemon() {
        m_process.kill();
        m_process.waitForFinished(kPatience);
    }
    Q_DISABLE_COPY_MOVE(Daemon)

    void writeInput(const QByteArray& input) {
        m_process.write(input);
        m_process.closeWriteChannel();
        EXPECT_TRUE(waitUntil([this] {
            m_process.waitForBytesWritten(1);
            return m_process.bytesToWrite() == 0;
        }));
    }
    /// What it has written, as soon as that contains `text`.
    QByteArray outputUpTo(const QByteArray& text) {
        EXPECT_TRUE(waitUntil([&] {
            m_process.waitForReadyRead(5);
            m_output += m_process.readAllStandardOutput();
            return m_output.contains(text);
        })) << text.constData();
        return m_output;
    }
    void signal(int number) { ::kill(static_cast<pid_t>(m_process.processId()), number); }

private:
    QProcess m_process;
    QByteArray m_output;
};

/// A session bus that starts no services by itself, in a home of its own.
class PrivateSession {
public:
    PrivateSession() {
        qDBusRegisterMetaType<Attributes>();
        QFile configuration(m_home.filePath("bus.conf"));
        EXPECT_TRUE(configuration.open(QFile::WriteOnly));
        configuration.write("<busconfig><type>session</type><listen>unix:path=" +
                            QFile::encodeName(m_home.filePath("bus")) +
                            "</listen><policy context=\"default\"><allow send_destination=\"*\" "
                            "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>"
                            "</policy></busconfig>");
        configuration.close();
        m_environment.insert("HOME", m_home.path());
        m_environment.insert("XDG_DATA_HOME", m_home.filePath("data"));
        m_environment.insert("XDG_RUNTIME_DIR", m_home.path());
        m_bus = std::make_unique<Daemon>(
            "dbus-daemon",
            QStringList{"--config-file=" + configuration.fileName(), "--print-address=1"},
            m_environment);
        m_address = m_bus->outputUpTo("\n").trimmed();
        m_environment.insert("DBUS_SESSION_BUS_ADDRESS", QString::fromLatin1(m_address));
    }
    ~PrivateSession() { QDBusConnection::disconnectFromBus(m_connectionName); }
    Q_DISABLE_COPY_MOVE(PrivateSession)

    /// Starts the keyring, with the password as at login or without, and waits until it serves.
    void startKeyring(bool unlock) {
        QStringList arguments{"--foreground", "--components=secrets",
                              "--control-directory=" + m_home.filePath("control")};
        if (unlock) {
            arguments.append("--unlock");
        }
        m_keyring = std::make_unique<Daemon>("gnome-keyring-daemon", arguments, m_environment);
        m_keyring->writeInput(unlock ? "password\n" : "");
        EXPECT_TRUE(waitUntil([this] { return isServed(); }));
    }
    void stopKeyring() {
        m_keyring.reset();
        EXPECT_TRUE(waitUntil([this] { return !isServed(); }));
    }
    void lockDefaultCollection() {
        (void)call(kSecretsPath, "Service.Lock",
                   {QVariant::fromValue(QList{QDBusObjectPath(kDefaultCollection)})});
    }
    /// Stores a secret as another program does.
    void createItem(const Attributes& attributes) {
        const QVariantList opened = call(kSecretsPath, "Service.OpenSession",
                                         {"plain", QVariant::fromValue(QDBusVariant(QString()))});
        QDBusArgument secret;
        secret.beginStructure();
        secret << opened.value(1).value<QDBusObjectPath>() << QByteArray() << QByteArray("theirs")
               << QString("text/plain");
        secret.endStructure();
        const QVariantMap properties{
            {"org.freedesktop.Secret.Item.Label", "theirs"},
            {"org.freedesktop.Secret.Item.Attributes", QVariant::fromValue(attributes)}};
        (void)call(kDefaultCollection, "Collection.CreateItem",
                   {properties, QVariant::fromValue(secret), false});
    }
    qsizetype countItems(const Attributes& attributes) {
        const QVariantList found =
            call(kSecretsPath, "Service.SearchItems", {QVariant::fromValue(attributes)});
        return qdbus_cast<QList<QDBusObjectPath>>(found.value(0)).size();
    }
    QDBusConnection connection() {
        return QDBusConnection::connectToBus(QString::fromLatin1(m_address), m_connectionName);
    }
    std::unique_ptr<Daemon> monitor(const QString& rule) {
        auto monitor =
            std::make_unique<Daemon>("dbus-monitor", QStringList{"--session", rule}, m_environment);
        (void)monitor->outputUpTo("NameLost"); // it has become a monitor
        return monitor;
    }

    [[nodiscard]] const QByteArray& address() const { return m_address; }
    [[nodiscard]] Daemon& bus() { return *m_bus; }
    [[nodiscard]] Daemon& keyring() { return *m_keyring; }

private:
    QVariantList call(const QString& path, const QString& method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            kSecrets, path, "org.freedesktop.Secret." + method.section('.', 0, 0),
            method.section('.', 1));
        message.setArguments(arguments);
        const QDBusMessage reply = connection().call(message);
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << qPrintable(reply.errorMessage());
        return reply.arguments();
    }
    bool isServed() { return connection().interface()->isServiceRegistered(kSecrets); }

    const QTemporaryDir m_home;
    const QString m_connectionName = QUuid::createUuid().toString();
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QByteArray m_address;
    std::unique_ptr<Daemon> m_bus;
    std::unique_ptr<Daemon> m_keyring;
};

class SecretServicePort {
public:
    SecretServicePort() { m_session.startKeyring(true); }
    Keychain& keychain() { return m_keychain; }

private:
    PrivateSession m_session;
    SecretServiceKeychain m_keychain{m_session.address()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(SecretServiceKeychain, KeychainContract, SecretServicePort);

class SecretServiceKeychainTest : public testing::Test {
protected:
    OSStatus add() { return keychain.itemAdd(with(query, kSecValueData, QByteArray("secret"))); }
    OSStatus find() {
        QVariant secret;
        return keychain.itemCopyMatching(with(query, kSecReturnData, true), secret);
    }
    OSStatus remove() { return keychain.itemDelete(query); }

    /// Far less than what D-Bus itself waits for a reply, far more than what is promised.
    void expectUnavailableInTime() {
        constexpr int bound = 10'000;
        const std::function<OSStatus()> calls[] = {
            [this] { return add(); }, [this] { return find(); }, [this] { return remove(); }};
        for (const auto& call : calls) {
            QElapsedTimer timer;
            timer.start();
            EXPECT_EQ(call(), errSecNotAvailable);
            EXPECT_FALSE(timer.hasExpired(bound));
        }
    }

    PrivateSession session;
    SecretServiceKeychain keychain{session.address()};
};

TEST_F(SecretServiceKeychainTest, worksAgainAfterTheServiceWasAway) {
    expectUnavailableInTime();
    session.startKeyring(true);
    EXPECT_EQ(add(), errSecSuccess);
    session.stopKeyring();
    expectUnavailableInTime();
    session.startKeyring(true);
    EXPECT_EQ(find(), errSecSuccess);
}

TEST_F(SecretServiceKeychainTest, doesNotWaitForAServiceThatHangs) {
    session.startKeyring(true);
    session.keyring().signal(SIGSTOP);
    expectUnavailableInTime();
    session.keyring().signal(SIGCONT);
    EXPECT_EQ(add(), errSecSuccess);
}

TEST_F(SecretServiceKeychainTest, doesNotWaitForABusThatHangsOrIsGone) {
    session.bus().signal(SIGSTOP);
    expectUnavailableInTime();
    session.bus().signal(SIGKILL);
    expectUnavailableInTime();
    SecretServiceKeychain withoutBus{QByteArray()};
    EXPECT_EQ(withoutBus.itemDelete(query), errSecNotAvailable);
}

TEST_F(SecretServiceKeychainTest, neverPrompts) {
    session.startKeyring(true);
    EXPECT_EQ(add(), errSecSuccess);
    const auto monitor = session.monitor("interface='org.freedesktop.Secret.Prompt'");

    session.lockDefaultCollection();
    EXPECT_EQ(find(), errSecNotAvailable);
    EXPECT_EQ(remove(), errSecNotAvailable);
    EXPECT_EQ(add(), errSecDuplicateItem);
    const QVariantMap other = passwordQuery("other", "account");
    EXPECT_EQ(keychain.itemAdd(with(other, kSecValueData, QByteArray("secret"))),
              errSecNotAvailable);

    session.connection().call(QDBusMessage::createMethodCall(
        kSecrets, "/", "org.freedesktop.Secret.Prompt", "EndOfTest"));
    EXPECT_FALSE(monitor->outputUpTo("EndOfTest").contains("member=Prompt"));
}

TEST_F(SecretServiceKeychainTest, makesNoCollection) {
    session.startKeyring(false);
    EXPECT_EQ(find(), errSecItemNotFound);
    EXPECT_EQ(add(), errSecNotAvailable);
}

TEST_F(SecretServiceKeychainTest, deletesAllOfOursAndNothingOfOtherPrograms) {
    session.startKeyring(true);
    Attributes attributes{{"service", "service"}, {"account", "account"}};
    session.createItem(attributes);
    EXPECT_EQ(find(), errSecItemNotFound);
    EXPECT_EQ(add(), errSecSuccess);
    attributes.insert("xdg:schema", "org.velmorin.GenericPassword");
    session.createItem(attributes);
    EXPECT_EQ(session.countItems(attributes), 2);
    EXPECT_EQ(remove(), errSecSuccess);
    EXPECT_EQ(session.countItems(attributes), 0);
    attributes.remove("xdg:schema");
    EXPECT_EQ(session.countItems(attributes), 1);
}

TEST_F(SecretServiceKeychainTest, givesItsConnectionsBack) {
    session.startKeyring(true);
    const auto openFiles = [] { return QDir("/proc/self/fd").entryList().size(); };
    EXPECT_EQ(find(), errSecItemNotFound);
    const auto before = openFiles();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(find(), errSecItemNotFound);
    }
    EXPECT_TRUE(waitUntil([&] { return openFiles() <= before; }));
}

} // namespace
} // namespace velmorin

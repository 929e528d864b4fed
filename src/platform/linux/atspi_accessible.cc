#include "platform/linux/atspi_accessible.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <algorithm>
#include <map>
#include <string>

#include "platform/linux/atspi_mapping.h"

namespace velto::platform {

namespace {

const QString kAccessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString kDocument = QStringLiteral("org.a11y.atspi.Document");

QDBusArgument argumentOf(const QDBusMessage& reply) {
  return reply.arguments().value(0).value<QDBusArgument>();
}

std::string utf8(const QString& text) {
  return text.toStdString();
}

}  // namespace

std::optional<QDBusMessage> AtspiCalls::call(const AtspiReference& object, const QString& interface,
                                             const QString& method,
                                             const QList<QVariant>& arguments) {
  using namespace std::chrono;
  const auto left = duration_cast<milliseconds>(deadline_ - steady_clock::now()).count();
  if (left <= 0) {
    timedOut_ = true;
    return std::nullopt;
  }
  QDBusMessage message =
      QDBusMessage::createMethodCall(object.service, object.path, interface, method);
  message.setArguments(arguments);
  QDBusMessage reply = bus_.call(message, QDBus::Block, static_cast<int>(left));
  if (reply.type() != QDBusMessage::ReplyMessage) {
    if (steady_clock::now() >= deadline_) timedOut_ = true;
    return std::nullopt;
  }
  return reply;
}

std::vector<AtspiReference> AtspiCalls::children(const AtspiReference& object) {
  std::vector<AtspiReference> found;
  std::optional<QDBusMessage> reply = call(object, kAccessible, QStringLiteral("GetChildren"));
  if (!reply || reply->signature() != QStringLiteral("a(so)")) return found;
  const QDBusArgument list = argumentOf(*reply);
  list.beginArray();
  while (!list.atEnd()) {
    QString service;
    QDBusObjectPath path;
    list.beginStructure();
    list >> service >> path;
    list.endStructure();
    found.push_back({service, path.path()});
  }
  list.endArray();
  return found;
}

std::optional<std::uint32_t> AtspiCalls::role(const AtspiReference& object) {
  std::optional<QDBusMessage> reply = call(object, kAccessible, QStringLiteral("GetRole"));
  if (!reply || reply->signature() != QStringLiteral("u")) return std::nullopt;
  return reply->arguments().value(0).toUInt();
}

std::optional<std::vector<std::uint32_t>> AtspiCalls::states(const AtspiReference& object) {
  std::optional<QDBusMessage> reply = call(object, kAccessible, QStringLiteral("GetState"));
  if (!reply || reply->signature() != QStringLiteral("au")) return std::nullopt;
  const QVariant value = reply->arguments().value(0);
  std::vector<std::uint32_t> words;
  if (value.canConvert<QDBusArgument>()) {
    const QDBusArgument list = value.value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
      uint word = 0;
      list >> word;
      words.push_back(word);
    }
    list.endArray();
  } else {
    for (uint word : value.value<QList<uint>>()) words.push_back(word);
  }
  return words;
}

std::optional<QString> AtspiCalls::name(const AtspiReference& object) {
  std::optional<QDBusMessage> reply =
      call(object, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
           {kAccessible, QStringLiteral("Name")});
  if (!reply) return std::nullopt;
  const QVariant value = reply->arguments().value(0).value<QDBusVariant>().variant();
  if (value.typeId() != QMetaType::QString) return std::nullopt;
  return value.toString();
}

std::optional<QString> AtspiCalls::documentAddress(const AtspiReference& object) {
  if (std::optional<QDBusMessage> reply = call(object, kDocument, QStringLiteral("GetAttributes"));
      reply && reply->signature() == QStringLiteral("a{ss}")) {
    std::map<std::string, std::string> attributes;
    const QDBusArgument map = argumentOf(*reply);
    map.beginMap();
    while (!map.atEnd()) {
      QString key;
      QString value;
      map.beginMapEntry();
      map >> key >> value;
      map.endMapEntry();
      attributes.emplace(utf8(key), utf8(value));
    }
    map.endMap();
    if (std::optional<std::string> address = atspi::documentAddress(attributes)) {
      return QString::fromStdString(*address);
    }
    return std::nullopt;
  }
  // Some toolkits answer only the single-attribute call.
  std::optional<QDBusMessage> reply =
      call(object, kDocument, QStringLiteral("GetAttributeValue"), {QStringLiteral("DocURL")});
  if (!reply || reply->signature() != QStringLiteral("s")) return std::nullopt;
  QString address = reply->arguments().value(0).toString();
  if (address.isEmpty()) return std::nullopt;
  return address;
}

std::optional<QString> AtspiCalls::text(const AtspiReference& object) {
  std::optional<QDBusMessage> reply =
      call(object, QStringLiteral("org.a11y.atspi.Text"), QStringLiteral("GetText"), {0, -1});
  if (!reply || reply->signature() != QStringLiteral("s")) return std::nullopt;
  return reply->arguments().value(0).toString();
}

std::optional<std::uint32_t> AtspiCalls::processId(const QString& service) {
  std::optional<QDBusMessage> reply =
      call({QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus")},
           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"),
           {service});
  if (!reply || reply->signature() != QStringLiteral("u")) return std::nullopt;
  return reply->arguments().value(0).toUInt();
}

AccessibleElement::Role AtspiElement::role() const {
  const std::optional<std::uint32_t> raw = calls_.role(reference_);
  if (!raw) return Role::other;
  const Role role = atspi::roleOf(*raw);
  if (role == Role::webArea && !url()) return Role::other;
  return role;
}

std::optional<std::string> AtspiElement::title() const {
  std::optional<QString> name = calls_.name(reference_);
  if (!name) return std::nullopt;
  return utf8(*name);
}

std::optional<std::string> AtspiElement::url() const {
  if (!address_) {
    std::optional<QString> address = calls_.documentAddress(reference_);
    address_ = address ? std::optional(utf8(*address)) : std::nullopt;
  }
  return *address_;
}

std::optional<std::string> AtspiElement::value() const {
  std::optional<QString> text = calls_.text(reference_);
  if (!text) return std::nullopt;
  return utf8(*text);
}

std::vector<std::unique_ptr<AccessibleElement>> AtspiElement::children() const {
  std::vector<std::unique_ptr<AccessibleElement>> elements;
  for (AtspiReference& child : calls_.children(reference_)) {
    elements.push_back(std::make_unique<AtspiElement>(calls_, std::move(child)));
  }
  return elements;
}

}  // namespace velto::platform

#include "platform/registry/RegistryStore.h"

#include <optional>
#include <string>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/text/Numbers.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

constexpr std::int32_t kStatusFound = 0;
constexpr std::int32_t kStatusNotFound = 2;  // ERROR_FILE_NOT_FOUND

std::unique_ptr<RegistryBackend> MakeSuitableBackend() {
#ifdef _WIN32
    return MakeWindowsRegistry();
#else
    const std::string& prefix = CurrentDrives().WinePrefix();
    return prefix.empty() ? MakeOwnRegistry() : MakeWineRegistry(prefix);
#endif
}

void RequireLocalMachine(std::string_view hive, std::string_view keyPath) {
    if (!EqualNoCase(hive, "HKEY_LOCAL_MACHINE") || keyPath.empty()) {
        Raise(RuntimeErrorNumber::InvalidProcedureCall);
    }
}

bool IsText(const RegistryData& data) {
    return data.type == RegistryData::Type::Text || data.type == RegistryData::Type::ExpandableText;
}

std::string ToText(const RegistryVariant& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* number = std::get_if<float>(&value)) return SingleToText(*number);
    return std::to_string(std::get<std::int32_t>(value));
}

std::optional<std::uint32_t> ToNumber(const RegistryVariant& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return static_cast<std::uint32_t>(*number);
    try {
        const auto* single = std::get_if<float>(&value);
        const std::int32_t number =
            single != nullptr ? CLng(static_cast<double>(*single)) : CLng(std::get<std::string>(value));
        return static_cast<std::uint32_t>(number);
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

RegistryData ChooseData(const RegistryVariant& value, const std::optional<RegistryData>& present) {
    using Type = RegistryData::Type;
    if (present && IsText(*present)) return {present->type, ToText(value), 0};
    const bool wantsNumber =
        std::holds_alternative<std::int32_t>(value) || (present && present->type == Type::Number);
    if (wantsNumber) {
        if (const auto number = ToNumber(value)) return {Type::Number, "", *number};
    }
    return {Type::Text, ToText(value), 0};
}

float ToSingle(const RegistryData& data) {
    if (!IsText(data)) return static_cast<float>(static_cast<std::int32_t>(data.number));
    const auto number = TextToSingle(data.text);
    if (!number) Raise(RuntimeErrorNumber::TypeMismatch);
    return *number;
}

std::int32_t ToInteger(const RegistryData& data) {
    return IsText(data) ? CLng(data.text) : static_cast<std::int32_t>(data.number);
}

void Assign(RegistryVariant& value, const RegistryData& data) {
    if (std::holds_alternative<float>(value)) {
        value = ToSingle(data);
    } else if (std::holds_alternative<std::int32_t>(value)) {
        value = ToInteger(data);
    } else {
        value = IsText(data) ? data.text : std::to_string(data.number);
    }
}

}  // namespace

RegistryStore::RegistryStore() : backend_(MakeSuitableBackend()) {}
RegistryStore::RegistryStore(std::unique_ptr<RegistryBackend> backend) : backend_(std::move(backend)) {}

void RegistryStore::WriteValue(std::string_view hive, std::string_view keyPath, std::string_view valueName,
                               const RegistryVariant& value, std::string_view /*extra*/) {
    RequireLocalMachine(hive, keyPath);
    backend_->Write(keyPath, valueName, value, ChooseData);
}

void RegistryStore::ReadValue(std::string_view hive, std::string_view keyPath, std::string_view valueName,
                              RegistryVariant& value, std::int32_t& status, bool /*flag*/) {
    RequireLocalMachine(hive, keyPath);
    const auto data = backend_->Read(keyPath, valueName);
    status = data && data->type != RegistryData::Type::Other ? kStatusFound : kStatusNotFound;
    if (status == kStatusFound) Assign(value, *data);
}

}  // namespace marrowkit

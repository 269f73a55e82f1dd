#include "links/install_validator.h"

#include <array>
#include <memory>
#include <optional>
#include <utility>

#include "base/base64.h"
#include "base/json.h"
#include "base/members.h"
#include "identity/random_uuid.h"
#include "model/wire.h"
#include "platform/defaults.h"
#include "platform/store_receipt.h"

namespace zarn::links {
namespace {

using Status = InstallValidationStatus;

constexpr std::array<std::string_view, 10> kWords = {
    "not_run",  "unavailable", "opted_out",    "disabled", "validated",
    "replayed", "invalid_sig", "wrong_bundle", "absent",   "error"};

Status readAnswer(const platform::HttpResult& result) {
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  const auto parsed = response != nullptr ? base::parseJson(response->body) : std::nullopt;
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  if (object == nullptr) return Status::error;
  const auto word = base::stringMember(*object, "validation_status");
  for (std::size_t i = 0; word && i < kWords.size(); ++i) {
    if (*word == kWords[i]) return static_cast<Status>(i);
  }
  return Status::error;
}

}  // namespace

std::string_view rawValue(InstallValidationStatus status) {
  return kWords[static_cast<std::size_t>(status)];
}

/// What the request ends with. Where it is dropped without an answer, that is an error.
class InstallValidator::Answer {
 public:
  explicit Answer(base::UniqueFunction<void(Status)> settle) : settle_(std::move(settle)) {}
  Answer(Answer&& other) noexcept : settle_(std::exchange(other.settle_, nullptr)) {}
  Answer& operator=(Answer&&) = delete;
  ~Answer() {
    if (settle_) settle_(Status::error);
  }
  void operator()(const platform::HttpResult& result) {
    if (auto settle = std::exchange(settle_, nullptr)) settle(readAnswer(result));
  }

 private:
  base::UniqueFunction<void(Status)> settle_;
};

InstallValidator::InstallValidator(const InstallValidatorParts& parts,
                                   const model::Configuration& configuration, std::string bundleId)
    : parts_(parts), configuration_(configuration), bundleId_(std::move(bundleId)) {}

InstallValidator::~InstallValidator() {
  scope_.close();
}

void InstallValidator::start(std::string deviceId) {
  const auto token = parts_.guard.current();  // before the look at the opt-out, which may come now
  const bool enabled = configuration_.options.installReceiptValidationEnabled;
  const bool optedOut = parts_.isOptedOut();
  {
    base::MutexLock lock(lock_);
    if (isUnderWay_) return;
    isUnderWay_ = enabled && !optedOut;
    if (!isUnderWay_) {
      status_ = enabled ? Status::optedOut : Status::disabled;
      return;
    }
  }
  parts_.background.post(base::weakly(
      scope_, [this, deviceId = std::move(deviceId), token] { validate(deviceId, token); }));
}

void InstallValidator::validate(const std::string& deviceId, runtime::NetworkGuard::Token token) {
  if (!parts_.receipt.isAvailable()) return settle(Status::unavailable);
  const auto receipt = parts_.receipt.read();
  if (!receipt || receipt->empty()) return settle(Status::absent);
  if (receipt->size() > kMostReceiptBytes) return settle(Status::error);
  platform::HttpRequest request;
  request.method = "POST";
  request.url = model::endpointURL(configuration_.apiHost(), "/api/sdk/install/validate");
  request.headers = {{"Content-Type", "application/json"}};
  request.body = {std::make_shared<const std::string>(makeBody(deviceId, *receipt))};
  request.timeout = base::seconds(60);
  // Refused or cancelled by a boundary, the request lets go of the answer.
  parts_.guard.startGuardedTask(
      std::move(request), token,
      Answer(base::weakly(scope_, [this](Status status) { settle(status); })));
}

std::string InstallValidator::makeBody(const std::string& deviceId, std::string_view receipt) {
  std::string out;
  base::JsonWriter json(out);
  json.beginObject()
      .member("project_id", configuration_.projectId())
      .member("api_key", configuration_.apiKey())
      .member("platform", model::kWirePlatform)
      .member("sdk_version", model::kSdkVersion)
      .member("install_id", installId())
      .member("device_id", deviceId)
      .member("bundle_id", bundleId_)
      .member("apple_receipt", base::base64(receipt))
      .endObject();
  return out;
}

std::string InstallValidator::installId() {
  if (auto known = parts_.defaults.getString(kInstallIdKey)) return *std::move(known);
  std::string made = identity::randomUuidText(parts_.random);
  parts_.defaults.set(kInstallIdKey, made);
  parts_.defaults.commit();
  return made;
}

void InstallValidator::optOut() {
  settle(Status::optedOut);
}

void InstallValidator::settle(InstallValidationStatus status) {
  // The request that an opt-out has cancelled may be told before the opt-out itself.
  if (status == Status::error && parts_.isOptedOut()) status = Status::optedOut;
  base::MutexLock lock(lock_);
  if (std::exchange(isUnderWay_, false)) status_ = status;
}

InstallValidationStatus InstallValidator::status() const {
  base::MutexLock lock(lock_);
  return status_;
}

}  // namespace zarn::links

#include <optional>

#include "zarn/network.h"

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {
namespace {

std::optional<double> ifKnown(double moment) {
  return moment > 0 ? std::optional(moment) : std::nullopt;
}

NetworkTransaction transactionOf(const TransferReadings& readings) {
  NetworkTransaction transaction{.fetchStart = 0};
  // A connection that ends without an answer is no first byte.
  if (readings.status != 0) transaction.responseStart = ifKnown(readings.firstByte);
  if (readings.isConnectionReused) return transaction;
  transaction.domainLookupStart = 0;
  transaction.domainLookupEnd = transaction.connectStart = ifKnown(readings.nameFound);
  transaction.connectEnd = ifKnown(readings.connected);
  return transaction;
}

NetworkMetrics metricsOf(const TransferReadings& readings) {
  NetworkMetrics metrics{.url = readings.url, .hasError = readings.hasError};
  if (readings.method != nullptr) metrics.method = readings.method;
  if (readings.status != 0) metrics.status = static_cast<int>(readings.status);
  metrics.duration = readings.total;
  metrics.bytesSent = readings.bytesSent;
  metrics.bytesReceived = readings.bytesReceived;
  if (!readings.wasRedirected) metrics.transactions.push_back(transactionOf(readings));
  return metrics;
}

}  // namespace

std::string copyOf(const char* text) noexcept {
  try {
    return text != nullptr ? text : "";
  } catch (...) {
    return {};
  }
}

void reportTransfer(NetworkDelegate& delegate, const NetworkTask& task,
                    const TransferReadings& readings) noexcept {
  if (readings.url == nullptr || *readings.url == '\0') return;
  try {
    delegate.didFinishCollectingMetrics(task, metricsOf(readings));
  } catch (...) {  // of the host's own delegate, or out of memory
  }
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn

#include "server/request_log.h"

#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/stringbuffer.h>

#include "server/page_json.h"
#include "server/query_sql.h"
#include "server/row_json.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

bool isUtf8(std::string_view text) {
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::StringBuffer ignored;
  while (stream.Tell() < text.size()) {
    if (!rapidjson::UTF8<>::Validate(stream, ignored)) return false;
    ignored.Clear();
  }
  return true;
}

}  // namespace

std::string headOf(const Request& request) {
  std::string head = request.method + " " + request.target + " HTTP/1.1\r\n";
  for (const auto& [name, value] : request.headers) head += name + ": " + value + "\r\n";
  return head;
}

Queries::Result RequestLog::list(const Page& page, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where;
  where.addPage(page, "id");
  Statement query(*lease,
                  "SELECT id, received_ms, refusal, head, body_at, body_bytes FROM requests" +
                      where.sql() + orderSql(page, "id"));
  where.bindTo(query, 1);
  return pageJson(lease, query, "requests", page, [&](JsonOut& out, const Statement& row) {
    out.object().field("id", row.number(0));
    writeTime(out, "received_at", row, 1);
    std::string body;
    const bool isHere = bodies_.read(row.number(4), row.number(5), body);
    out.optional("refused", row.text(2))
        .field("head", isUtf8(row.text(3)) ? row.text(3) : std::string_view())
        .field("bytes", row.number(5))
        .key("body");
    isHere&& isUtf8(body) ? out.value(std::string_view(body)) : out.null();
    out.end();
  });
}

Queries::Result RequestLog::raw(const Page& page, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where;
  where.addPage(page, "id");
  Statement query(*lease, "SELECT head, body_at, body_bytes FROM requests" + where.sql() +
                              orderSql(page, "id"));
  where.bindTo(query, 1);
  std::string all;
  while (query.step()) {
    all.append(query.text(0)).append("\r\n");
    if (!bodies_.read(query.number(1), query.number(2), all)) {
      error = "a body could not be read";
      return std::nullopt;
    }
    all.append("\r\n");
    if (static_cast<std::int64_t>(all.size()) > kMostRawBytes) {
      error = "more than 512 MiB: ask for less with since and limit";
      return std::nullopt;
    }
  }
  if (query.failed()) {
    error = "the search failed";
    return std::nullopt;
  }
  return all;
}

}  // namespace zarn::collector

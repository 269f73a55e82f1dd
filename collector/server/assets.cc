#include "server/assets.h"

#include <fstream>
#include <iterator>

namespace zarn::collector {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestFile = 16u << 20;

constexpr const char* kNoViewer = R"html(<!doctype html>
<html lang="en"><meta charset="utf-8"><title>zarn-collector</title>
<body style="font:16px/1.6 system-ui;max-width:40rem;margin:4rem auto;padding:0 1rem">
<h1>The collector is running</h1>
<p>Its viewer has not been built. Build it with <code>npm ci &amp;&amp; npm run build</code> in
<code>collector/web</code> and start the collector with <code>--web collector/web/dist</code>.</p>
<p>The HTTP API works without it: <a href="/api/collector/counts">/api/collector/counts</a>.</p>
)html";

const char* contentTypeOf(const fs::path& file) {
  const std::string extension = file.extension().string();
  if (extension == ".html") return "text/html; charset=utf-8";
  if (extension == ".js") return "text/javascript; charset=utf-8";
  if (extension == ".css") return "text/css; charset=utf-8";
  if (extension == ".svg") return "image/svg+xml";
  if (extension == ".png") return "image/png";
  if (extension == ".woff2") return "font/woff2";
  return nullptr;
}

Reply pageReply(std::string body, const char* contentType) {
  Reply reply;
  reply.body = std::move(body);
  reply.contentType = contentType;
  reply.headers = {{"Cache-Control", "no-cache"},
                   {"Content-Security-Policy",
                    "default-src 'self'; style-src 'self' 'unsafe-inline'; img-src 'self' data:; "
                    "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"}};
  return reply;
}

}  // namespace

Assets::Assets(const fs::path& directory) {
  std::error_code failure;
  fs::recursive_directory_iterator files(directory, failure);
  for (; !failure && files != fs::recursive_directory_iterator(); files.increment(failure)) {
    const fs::path& file = files->path();
    const char* contentType = contentTypeOf(file);
    if (contentType == nullptr || !files->is_regular_file() || files->file_size() > kLargestFile) {
      continue;
    }
    std::ifstream stream(file, std::ios::binary);
    const std::string body{std::istreambuf_iterator<char>(stream), {}};
    const std::string path = "/" + file.lexically_relative(directory).generic_string();
    replies_.emplace(path, pageReply(body, contentType));
  }
  const auto index = replies_.find("/index.html");
  hasViewer_ = index != replies_.end();
  const Reply start = hasViewer_ ? index->second : pageReply(kNoViewer, "text/html; charset=utf-8");
  replies_.insert_or_assign("/", start);
}

std::optional<Reply> Assets::find(const std::string& path) const {
  const auto found = replies_.find(path);
  if (found == replies_.end()) return std::nullopt;
  return found->second;
}

fs::path defaultViewerDirectory() {
  std::error_code failure;
  const fs::path program = fs::read_symlink("/proc/self/exe", failure);
  const fs::path beside = program.parent_path() / "viewer";
  if (fs::exists(beside, failure)) return beside;
  return program.parent_path().parent_path() / "share" / "zarn" / "viewer";
}

}  // namespace zarn::collector

#include "support/collector_process.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace zarn::testing {
namespace {

std::string collectorProgram() {
  if (const char* named = std::getenv("ZARN_COLLECTOR")) return named;
#ifdef ZARN_COLLECTOR_PROGRAM
  return ZARN_COLLECTOR_PROGRAM;
#else
  return {};
#endif
}

std::filesystem::path makeDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "zarn-collector-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  return name;
}

size_t appendBody(char* data, size_t size, size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

}  // namespace

CollectorProcess::CollectorProcess(Options options) : options_(std::move(options)) {
  if (options_.dataDirectory.empty()) {
    options_.dataDirectory = makeDirectory();
    ownsDirectory_ = true;
  }
  start();
}

CollectorProcess::~CollectorProcess() {
  kill();
  std::error_code ignored;
  if (ownsDirectory_) std::filesystem::remove_all(options_.dataDirectory, ignored);
}

void CollectorProcess::start() {
  std::vector<std::string> words{collectorProgram(), "--port", std::to_string(options_.port),
                                 "--data", options_.dataDirectory.string()};
  words.insert(words.end(), options_.arguments.begin(), options_.arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(ends[1], STDOUT_FILENO);
    dup2(ends[1], STDERR_FILENO);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(ends[1]);
  try {
    if (pid_ < 0) throw std::runtime_error("no process");
    readAddress(ends[0]);
  } catch (...) {
    close(ends[0]);
    kill();
    throw;
  }
  close(ends[0]);
  options_.port = std::stoi(address_.substr(address_.rfind(':') + 1));
}

void CollectorProcess::readAddress(int pipe) {
  const std::string mark = "listening on ";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  std::string said;
  while (true) {
    const size_t at = said.find(mark);
    const size_t end = at == std::string::npos ? at : said.find('\n', at);
    if (end != std::string::npos) {
      address_ = said.substr(at + mark.size(), end - at - mark.size());
      return;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd waiting{pipe, POLLIN, 0};
    char chunk[512];
    ssize_t got = 0;
    if (left.count() > 0 && poll(&waiting, 1, static_cast<int>(left.count())) > 0) {
      got = read(pipe, chunk, sizeof chunk);
    }
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) throw std::runtime_error("the collector did not start: " + said);
    said.append(chunk, static_cast<size_t>(got));
  }
}

int CollectorProcess::wait() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

int CollectorProcess::stop() {
  if (pid_ <= 0) return 0;
  ::kill(pid_, SIGTERM);
  return wait();
}

void CollectorProcess::kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  wait();
}

CollectorProcess::Answer CollectorProcess::request(const std::string& method,
                                                   const std::string& path, const std::string& body,
                                                   const std::vector<std::string>& headers) const {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(
      ready == CURLE_OK ? curl_easy_init() : nullptr, curl_easy_cleanup);
  if (!curl) throw std::runtime_error("no HTTP client");

  Answer answer;
  curl_slist* list = curl_slist_append(nullptr, "Expect:");
  bool typed = body.empty();
  for (const std::string& header : headers) {
    typed = typed || header.rfind("Content-Type:", 0) == 0;
    list = curl_slist_append(list, header.c_str());
  }
  if (!typed) list = curl_slist_append(list, "Content-Type: application/json");
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> owned(list,
                                                                          curl_slist_free_all);

  curl_easy_setopt(curl.get(), CURLOPT_URL, (address_ + path).c_str());
  curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, list);
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, 30000L);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, appendBody);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &answer.body);
  if (!body.empty() || method == "POST" || method == "PUT") {
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.c_str());
  }
  if (curl_easy_perform(curl.get()) != CURLE_OK) return answer;
  long status = 0;
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
  answer.status = static_cast<int>(status);
  return answer;
}

std::string CollectorProcess::getJson(const std::string& path) const {
  Answer answer = request("GET", path);
  if (answer.status != 200) {
    throw std::runtime_error("GET " + path + ": " + std::to_string(answer.status) + " " +
                             answer.body);
  }
  return std::move(answer.body);
}

std::string CollectorProcess::post(const std::string& path, const std::string& json) const {
  Answer answer = request("POST", path, json);
  if (answer.status != 200) {
    throw std::runtime_error("POST " + path + ": " + std::to_string(answer.status) + " " +
                             answer.body);
  }
  return std::move(answer.body);
}

}  // namespace zarn::testing

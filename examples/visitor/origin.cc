// The servers that the visitor's app asks for its posters, pictures and payments, as one program on
// a loopback port: zarn-prints-origin. Says the port, and runs until it is ended.
#include <httplib.h>

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

int main() {
  httplib::Server server;
  server.Get("/v1/slow/.*", [](const httplib::Request&, httplib::Response& response) {
    std::this_thread::sleep_for(std::chrono::milliseconds(350));
    response.set_content("{}", "application/json");
  });
  server.Get("/v1/gone/.*",
             [](const httplib::Request&, httplib::Response& response) { response.status = 410; });
  server.Get("/v1/.*", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(R"({"posters": []})", "application/json");
  });
  server.Get("/thumbs/.*", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(std::string(20000, '.'), "image/heic");
  });
  server.Get("/broken/.*",
             [](const httplib::Request&, httplib::Response& response) { response.status = 503; });
  server.Post("/cards/.*",
              [](const httplib::Request&, httplib::Response& response) { response.status = 201; });
  const int port = server.bind_to_any_port("127.0.0.1");
  if (port <= 0) return 1;
  std::cout << port << std::endl;
  return server.listen_after_bind() ? 0 : 1;
}

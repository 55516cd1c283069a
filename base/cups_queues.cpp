#include "base/cups_queues.h"

#include <cups/cups.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>

#include "base/late_functions.h"
#include "base/utf.h"

namespace base {
namespace {

constexpr int kConnectMilliseconds = 2000;
constexpr double kAnswerSeconds = 1.0;

/// The functions of libcups that are used here. Requests are sent
/// and read step by step: the functions that do all at once ask the user for a password, come back as long as
/// a server closes its connections, or look for printers on the network.
using CupsLibrary = LateFunctions<&::cupsEncryption,
                                  &::cupsServer,
                                  &::httpAssembleURIf,
                                  &::httpClearFields,
                                  &::httpClose,
                                  &::httpConnect2,
                                  &::httpEncryption,
                                  &::httpPost,
                                  &::httpSetField,
                                  &::httpSetLength,
                                  &::httpSetTimeout,
                                  &::httpUpdate,
                                  &::ippAddString,
                                  &::ippAddStrings,
                                  &::ippDelete,
                                  &::ippFirstAttribute,
                                  &::ippGetName,
                                  &::ippGetStatusCode,
                                  &::ippGetString,
                                  &::ippLength,
                                  &::ippNew,
                                  &::ippNewRequest,
                                  &::ippNextAttribute,
                                  &::ippPort,
                                  &::ippRead,
                                  &::ippWrite>;

struct CupsFunctions : CupsLibrary {
  CupsFunctions() : LateFunctions("libcups.so.2") {}
};

/// Null when the machine has no libcups, or one that is not whole.
const CupsFunctions* TheCupsFunctions() {
  return BoundOnce<CupsFunctions>();
}

using Connection = std::unique_ptr<http_t, decltype(&::httpClose)>;
using Message = std::unique_ptr<ipp_t, decltype(&::ippDelete)>;

/// Null when there is nobody to connect to.
Connection Connect(const CupsFunctions& cups) {
  Connection connection(
      cups.Call<&::httpConnect2>(cups.Call<&::cupsServer>(), cups.Call<&::ippPort>(), nullptr, AF_UNSPEC,
                                 HTTP_ENCRYPTION_IF_REQUESTED, 1, kConnectMilliseconds, nullptr),
      cups.Get<&::httpClose>());
  if (!connection) {
    return connection;
  }
  cups.Call<&::httpSetTimeout>(
      connection.get(), kAnswerSeconds, [](http_t*, void*) { return 0; }, nullptr);
  // Only now, since encryption has a limit of its own, 10 s, when it begins with the connection.
  const http_encryption_t encryption = cups.Call<&::cupsEncryption>();
  const bool must_encrypt = encryption == HTTP_ENCRYPTION_REQUIRED || encryption == HTTP_ENCRYPTION_ALWAYS;
  if (must_encrypt && cups.Call<&::httpEncryption>(connection.get(), HTTP_ENCRYPTION_REQUIRED) != 0) {
    connection.reset();
  }
  return connection;
}

/// False unless all was written.
bool Send(const CupsFunctions& cups, http_t* connection, ipp_t* request) {
  cups.Call<&::httpClearFields>(connection);  // which puts the host's name in
  cups.Call<&::httpSetField>(connection, HTTP_FIELD_CONTENT_TYPE, "application/ipp");
  cups.Call<&::httpSetLength>(connection, cups.Call<&::ippLength>(request));
  if (cups.Call<&::httpPost>(connection, "/") != 0) {
    return false;
  }
  ipp_state_t state = IPP_STATE_IDLE;
  while (state != IPP_STATE_DATA && state != IPP_STATE_ERROR) {
    state = cups.Call<&::ippWrite>(connection, request);
  }
  return state == IPP_STATE_DATA;
}

/// Null unless the answer is a good one, or says that there is no such queue or none at all.
Message Receive(const CupsFunctions& cups, http_t* connection) {
  http_status_t status = HTTP_STATUS_CONTINUE;
  while (status == HTTP_STATUS_CONTINUE) {
    status = cups.Call<&::httpUpdate>(connection);
  }
  if (status != HTTP_STATUS_OK) {
    return {nullptr, cups.Get<&::ippDelete>()};
  }
  Message response(cups.Call<&::ippNew>(), cups.Get<&::ippDelete>());
  ipp_state_t state = IPP_STATE_IDLE;
  while (state != IPP_STATE_DATA && state != IPP_STATE_ERROR) {
    state = cups.Call<&::ippRead>(connection, response.get());
  }
  const ipp_status_t code = cups.Call<&::ippGetStatusCode>(response.get());
  if (state != IPP_STATE_DATA ||
      (code > IPP_STATUS_OK_EVENTS_COMPLETE && code != IPP_STATUS_ERROR_NOT_FOUND)) {
    response.reset();
  }
  return response;
}

std::vector<CupsQueue> ReadQueues(const CupsFunctions& cups, ipp_t* response) {
  std::vector<CupsQueue> queues;
  CupsQueue queue;
  const auto finish_queue = [&] {
    if (!queue.device_uri.empty()) {
      queues.push_back(std::move(queue));
    }
    queue = {};
  };
  for (ipp_attribute_t* attribute = cups.Call<&::ippFirstAttribute>(response); attribute != nullptr;
       attribute = cups.Call<&::ippNextAttribute>(response)) {
    const char* name = cups.Call<&::ippGetName>(attribute);
    if (name == nullptr) {  // what separates one queue from the next
      finish_queue();
      continue;
    }
    const char* text = cups.Call<&::ippGetString>(attribute, 0, nullptr);
    if (std::string_view(name) == "printer-name" && text != nullptr) {
      queue.name = ToUtf16(text);
    } else if (std::string_view(name) == "device-uri" && text != nullptr) {
      queue.device_uri = ToUtf16(text);
    }
  }
  finish_queue();
  return queues;
}

/// `uri` is null for a request that concerns all queues. Nothing without a good answer.
std::optional<std::vector<CupsQueue>> Ask(const CupsFunctions& cups, ipp_op_t operation, const char* uri) {
  constexpr std::array kAttributes = {"printer-name", "device-uri"};
  const Connection connection = Connect(cups);
  if (!connection) {
    return std::nullopt;
  }
  const Message request(cups.Call<&::ippNewRequest>(operation), cups.Get<&::ippDelete>());
  if (uri != nullptr) {
    cups.Call<&::ippAddString>(request.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
  }
  cups.Call<&::ippAddStrings>(request.get(), IPP_TAG_OPERATION, IPP_CONST_TAG(IPP_TAG_KEYWORD),
                              "requested-attributes", static_cast<int>(kAttributes.size()), nullptr,
                              kAttributes.data());
  if (!Send(cups, connection.get(), request.get())) {
    return std::nullopt;
  }
  const Message response = Receive(cups, connection.get());
  return response ? std::optional(ReadQueues(cups, response.get())) : std::nullopt;
}

bool CanBeCupsName(std::u16string_view name) {
  return !name.empty() && std::ranges::none_of(name, [](char16_t unit) {
    return unit < 0x20 || unit == 0x7F || unit == u'/' || unit == u'#';
  });
}

}  // namespace

std::optional<std::u16string> FindCupsDevice(std::u16string_view queue) {
  if (!CanBeCupsName(queue)) {
    return std::nullopt;
  }
  const CupsFunctions* const cups = TheCupsFunctions();
  if (cups == nullptr) {
    return std::nullopt;
  }
  char uri[HTTP_MAX_URI];
  if (cups->Call<&::httpAssembleURIf>(HTTP_URI_CODING_ALL, uri, HTTP_MAX_URI, "ipp", nullptr, "localhost", 0,
                                      "/printers/%s", ToUtf8(queue).c_str()) != HTTP_URI_STATUS_OK) {
    return std::nullopt;
  }
  const auto queues = Ask(*cups, IPP_OP_GET_PRINTER_ATTRIBUTES, uri);
  return !queues || queues->empty() ? std::nullopt : std::optional(queues->front().device_uri);
}

std::optional<std::vector<CupsQueue>> ListCupsQueues() {
  const CupsFunctions* const cups = TheCupsFunctions();
  return cups != nullptr ? Ask(*cups, IPP_OP_CUPS_GET_PRINTERS, nullptr) : std::nullopt;
}

}  // namespace base

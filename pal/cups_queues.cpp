#include "pal/cups_queues.h"

#include <cups/cups.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>

#include "pal/system_library.h"
#include "pal/text.h"

namespace pal {
namespace {

constexpr int kConnectMilliseconds = 2000;
constexpr double kAnswerSeconds = 1.0;

/// The functions of libcups that are used here, with the names and types of its own header. Requests are sent
/// and read step by step: the functions that do all at once ask the user for a password, come back as long as
/// a server closes its connections, or look for printers on the network.
struct Cups {
  decltype(&::cupsEncryption) cupsEncryption;
  decltype(&::cupsServer) cupsServer;
  decltype(&::httpAssembleURIf) httpAssembleURIf;
  decltype(&::httpClearFields) httpClearFields;
  decltype(&::httpClose) httpClose;
  decltype(&::httpConnect2) httpConnect2;
  decltype(&::httpEncryption) httpEncryption;
  decltype(&::httpPost) httpPost;
  decltype(&::httpSetField) httpSetField;
  decltype(&::httpSetLength) httpSetLength;
  decltype(&::httpSetTimeout) httpSetTimeout;
  decltype(&::httpUpdate) httpUpdate;
  decltype(&::ippAddString) ippAddString;
  decltype(&::ippAddStrings) ippAddStrings;
  decltype(&::ippDelete) ippDelete;
  decltype(&::ippFirstAttribute) ippFirstAttribute;
  decltype(&::ippGetName) ippGetName;
  decltype(&::ippGetStatusCode) ippGetStatusCode;
  decltype(&::ippGetString) ippGetString;
  decltype(&::ippLength) ippLength;
  decltype(&::ippNew) ippNew;
  decltype(&::ippNewRequest) ippNewRequest;
  decltype(&::ippNextAttribute) ippNextAttribute;
  decltype(&::ippPort) ippPort;
  decltype(&::ippRead) ippRead;
  decltype(&::ippWrite) ippWrite;
};

/// Nothing when the machine has no libcups, or one that is not whole.
std::optional<Cups> LoadCups() {
  const SystemLibrary library("libcups.so.2");
  Cups cups{};
  const bool is_whole =
      library.Bind("cupsEncryption", cups.cupsEncryption) && library.Bind("cupsServer", cups.cupsServer) &&
      library.Bind("httpAssembleURIf", cups.httpAssembleURIf) &&
      library.Bind("httpClearFields", cups.httpClearFields) && library.Bind("httpClose", cups.httpClose) &&
      library.Bind("httpConnect2", cups.httpConnect2) &&
      library.Bind("httpEncryption", cups.httpEncryption) && library.Bind("httpPost", cups.httpPost) &&
      library.Bind("httpSetField", cups.httpSetField) && library.Bind("httpSetLength", cups.httpSetLength) &&
      library.Bind("httpSetTimeout", cups.httpSetTimeout) && library.Bind("httpUpdate", cups.httpUpdate) &&
      library.Bind("ippAddString", cups.ippAddString) && library.Bind("ippAddStrings", cups.ippAddStrings) &&
      library.Bind("ippDelete", cups.ippDelete) &&
      library.Bind("ippFirstAttribute", cups.ippFirstAttribute) &&
      library.Bind("ippGetName", cups.ippGetName) &&
      library.Bind("ippGetStatusCode", cups.ippGetStatusCode) &&
      library.Bind("ippGetString", cups.ippGetString) && library.Bind("ippLength", cups.ippLength) &&
      library.Bind("ippNew", cups.ippNew) && library.Bind("ippNewRequest", cups.ippNewRequest) &&
      library.Bind("ippNextAttribute", cups.ippNextAttribute) && library.Bind("ippPort", cups.ippPort) &&
      library.Bind("ippRead", cups.ippRead) && library.Bind("ippWrite", cups.ippWrite);
  return is_whole ? std::optional(cups) : std::nullopt;
}

using Connection = std::unique_ptr<http_t, decltype(&::httpClose)>;
using Message = std::unique_ptr<ipp_t, decltype(&::ippDelete)>;

/// Null when there is nobody to connect to.
Connection Connect(const Cups& cups) {
  Connection connection(cups.httpConnect2(cups.cupsServer(), cups.ippPort(), nullptr, AF_UNSPEC,
                                          HTTP_ENCRYPTION_IF_REQUESTED, 1, kConnectMilliseconds, nullptr),
                        cups.httpClose);
  if (!connection)
    return connection;
  cups.httpSetTimeout(
      connection.get(), kAnswerSeconds, [](http_t*, void*) { return 0; }, nullptr);
  // Only now, since encryption has a limit of its own, 10 s, when it begins with the connection.
  const http_encryption_t encryption = cups.cupsEncryption();
  const bool must_encrypt = encryption == HTTP_ENCRYPTION_REQUIRED || encryption == HTTP_ENCRYPTION_ALWAYS;
  if (must_encrypt && cups.httpEncryption(connection.get(), HTTP_ENCRYPTION_REQUIRED) != 0)
    connection.reset();
  return connection;
}

/// False unless all was written.
bool Send(const Cups& cups, http_t* connection, ipp_t* request) {
  cups.httpClearFields(connection);  // which puts the host's name in
  cups.httpSetField(connection, HTTP_FIELD_CONTENT_TYPE, "application/ipp");
  cups.httpSetLength(connection, cups.ippLength(request));
  if (cups.httpPost(connection, "/") != 0)
    return false;
  ipp_state_t state = IPP_STATE_IDLE;
  while (state != IPP_STATE_DATA && state != IPP_STATE_ERROR)
    state = cups.ippWrite(connection, request);
  return state == IPP_STATE_DATA;
}

/// Null unless the answer is a good one.
Message Receive(const Cups& cups, http_t* connection) {
  http_status_t status = HTTP_STATUS_CONTINUE;
  while (status == HTTP_STATUS_CONTINUE)
    status = cups.httpUpdate(connection);
  if (status != HTTP_STATUS_OK)
    return {nullptr, cups.ippDelete};
  Message response(cups.ippNew(), cups.ippDelete);
  ipp_state_t state = IPP_STATE_IDLE;
  while (state != IPP_STATE_DATA && state != IPP_STATE_ERROR)
    state = cups.ippRead(connection, response.get());
  if (state != IPP_STATE_DATA || cups.ippGetStatusCode(response.get()) > IPP_STATUS_OK_EVENTS_COMPLETE)
    response.reset();
  return response;
}

std::vector<CupsQueue> ReadQueues(const Cups& cups, ipp_t* response) {
  std::vector<CupsQueue> queues;
  CupsQueue queue;
  const auto finish_queue = [&] {
    if (!queue.device_uri.empty())
      queues.push_back(std::move(queue));
    queue = {};
  };
  for (ipp_attribute_t* attribute = cups.ippFirstAttribute(response); attribute;
       attribute = cups.ippNextAttribute(response)) {
    const char* name = cups.ippGetName(attribute);
    if (!name) {  // what separates one queue from the next
      finish_queue();
      continue;
    }
    const char* text = cups.ippGetString(attribute, 0, nullptr);
    if (std::string_view(name) == "printer-name" && text)
      queue.name = ToUtf16(text);
    else if (std::string_view(name) == "device-uri" && text)
      queue.device_uri = ToUtf16(text);
  }
  finish_queue();
  return queues;
}

/// `uri` is null for a request that concerns all queues.
std::vector<CupsQueue> Ask(const Cups& cups, ipp_op_t operation, const char* uri) {
  constexpr std::array kAttributes = {"printer-name", "device-uri"};
  const Connection connection = Connect(cups);
  if (!connection)
    return {};
  const Message request(cups.ippNewRequest(operation), cups.ippDelete);
  if (uri)
    cups.ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
  cups.ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_CONST_TAG(IPP_TAG_KEYWORD), "requested-attributes",
                     static_cast<int>(kAttributes.size()), nullptr, kAttributes.data());
  if (!Send(cups, connection.get(), request.get()))
    return {};
  const Message response = Receive(cups, connection.get());
  return response ? ReadQueues(cups, response.get()) : std::vector<CupsQueue>();
}

bool CanBeCupsName(std::u16string_view name) {
  return !name.empty() && std::ranges::none_of(name, [](char16_t unit) {
    return unit < 0x20 || unit == 0x7F || unit == u'/' || unit == u'#';
  });
}

}  // namespace

std::optional<std::u16string> FindCupsDevice(std::u16string_view queue) {
  if (!CanBeCupsName(queue))
    return std::nullopt;
  const std::optional<Cups> cups = LoadCups();
  if (!cups)
    return std::nullopt;
  char uri[HTTP_MAX_URI];
  if (cups->httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof(uri), "ipp", nullptr, "localhost", 0,
                             "/printers/%s", ToUtf8(queue).c_str()) != HTTP_URI_STATUS_OK)
    return std::nullopt;
  const std::vector<CupsQueue> queues = Ask(*cups, IPP_OP_GET_PRINTER_ATTRIBUTES, uri);
  return queues.empty() ? std::nullopt : std::optional(queues.front().device_uri);
}

std::vector<CupsQueue> ListCupsQueues() {
  const std::optional<Cups> cups = LoadCups();
  return cups ? Ask(*cups, IPP_OP_CUPS_GET_PRINTERS, nullptr) : std::vector<CupsQueue>();
}

}  // namespace pal

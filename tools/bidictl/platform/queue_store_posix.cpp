#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "base/cups_queues.h"
#include "base/error_codes.h"
#include "base/files.h"
#include "base/home_registry.h"
#include "base/utf.h"
#include "tools/bidictl/platform/queue_store.h"
#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_tools {

namespace {

constexpr char16_t kPrintersKey[] =
    u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers";
constexpr char16_t kPortValue[] = u"Port";
constexpr char16_t kTraceValue[] = u"DebugTraceEnable";

base::RegistryFile LoadRegistry() {
  base::RegistryFile registry;
  const std::string path = base::RegistryFilePath();
  if (const DWORD code = base::RegistryFile::Load(path, &registry)) {
    throw QueueError(path + " cannot be read (error " + std::to_string(code) + ")");
  }
  return registry;
}

/// The registry while it is changed: nobody else changes it from its being read to the end of this object.
class RegistryEdit {
 public:
  RegistryEdit() : lock_file_(TakeLock()) {
    try {
      registry_ = LoadRegistry();
    } catch (...) {
      close(lock_file_);
      throw;
    }
  }
  ~RegistryEdit() { close(lock_file_); }
  RegistryEdit(const RegistryEdit&) = delete;
  RegistryEdit& operator=(const RegistryEdit&) = delete;

  base::RegistryFile* operator->() { return &registry_; }
  const base::RegistryFile& operator*() const { return registry_; }

  void Save() {
    const std::string path = base::RegistryFilePath();
    if (const DWORD code = registry_.Save(path)) {
      throw QueueError(path + " cannot be written (error " + std::to_string(code) + ")");
    }
  }

 private:
  /// The registry file itself is replaced by every change, so the lock is on a file beside it.
  static int TakeLock() {
    MakeFolder(base::HomeFolder());
    const std::string path = base::RegistryFilePath() + ".lock";
    int opened = -1;
    if (const DWORD code = base::OpenRegularFile(path, O_RDWR | O_CREAT, &opened)) {
      throw QueueError(path + " cannot be opened (error " + std::to_string(code) + ")");
    }
    base::FileDescriptor file(opened);
    if (const DWORD code = base::LockWholeFile(file.Get())) {
      throw QueueError(path + (code == ERROR_LOCK_VIOLATION
                                   ? " is locked by another process"
                                   : " cannot be locked (error " + std::to_string(code) + ")"));
    }
    return file.Release();
  }

  int lock_file_;
  base::RegistryFile registry_;
};

std::u16string KeyOf(const std::string& name) {
  return std::u16string(kPrintersKey) + u'\\' + ToWide(name).value();
}

bool HasPort(const base::RegistryFile& registry, const std::string& name) {
  return registry.FindValue(KeyOf(name), kPortValue) != nullptr;
}

void Require(const base::RegistryFile& registry, const std::string& name) {
  CheckQueueName(name);
  if (!registry.HasKey(KeyOf(name)) && !IsSpoolersQueue(name)) {
    throw QueueError("there is no queue '" + name + "'; 'bidictl queue list' shows the queues");
  }
}

/// Gives CUPS's queues to those of the registry that have no port of their own, and adds the others.
void AddCupsQueues(const std::vector<base::CupsQueue>& cups_queues, std::vector<Queue>& queues) {
  const auto folded = [](const Queue& queue) { return base::FoldCase(ToWide(queue.name).value_or(u"")); };
  for (const auto& [name, device_uri] : cups_queues) {
    const auto known = std::ranges::find(queues, base::FoldCase(name), folded);
    if (known == queues.end()) {
      queues.push_back({ToUtf8(name), ToUtf8(device_uri)});
    } else if (known->port.empty()) {
      known->port = ToUtf8(device_uri);
    }
  }
}

/// Nothing to complain of where nobody expects CUPS: it is not named, and there are queues without it.
std::vector<std::string> ComplaintsOfSilence() {
  const char* const server = base::Variable("CUPS_SERVER");
  const bool is_named = server != nullptr && *server != '\0';
  const std::string path = base::RegistryFilePath();
  std::error_code ignored;
  const bool has_registry = std::filesystem::exists(path, ignored);
  if (has_registry && !is_named) {
    return {};
  }
  return {"CUPS does not answer" + (is_named ? " at '" + std::string(server) + "' (CUPS_SERVER)" : "") +
          (has_registry ? ": only the queues in " + path + " are known" : ", and there is no " + path)};
}

void SetValue(RegistryEdit& edit,
              const std::u16string& key,
              const char16_t* name,
              base::RegistryValue value) {
  if (!edit->SetValue(key, name, std::move(value))) {
    throw QueueError("the queue cannot be written into " + base::RegistryFilePath());
  }
}

}  // namespace

void AddQueue(const std::string& name, const std::string& port) {
  CheckQueueName(name);
  CheckPortName(port);
  RegistryEdit edit;
  if (HasPort(*edit, name)) {  // without one, it is there for the trace switch of a queue of CUPS
    throw QueueError("there is a queue '" + name + "' already; remove it first");
  }
  SetValue(edit, KeyOf(name), kPortValue, base::RegistryValue::FromText(ToWide(port).value()));
  edit.Save();
}

bool IsSpoolersQueue(const std::string& name) {
  const auto wide_name = ToWide(name);
  return wide_name && base::FindCupsDevice(*wide_name);
}

std::vector<Queue> ListQueues(std::vector<std::string>* complaints) {
  const auto registry = LoadRegistry();
  std::vector<Queue> queues;
  for (const auto& name : registry.Subkeys(kPrintersKey)) {
    const auto* value = registry.FindValue(std::u16string(kPrintersKey) + u'\\' + name, kPortValue);
    queues.push_back({ToUtf8(name), value != nullptr ? ToUtf8(value->Text().value_or(u"")) : ""});
  }
  std::vector<std::string> found;
  if (const size_t line = registry.FirstMalformedLine()) {
    found.push_back(base::RegistryFilePath() + ':' + std::to_string(line) +
                    ": this line is not understood and does not count");
  }
  if (const auto cups_queues = base::ListCupsQueues()) {
    AddCupsQueues(*cups_queues, queues);
  } else {
    std::ranges::move(ComplaintsOfSilence(), std::back_inserter(found));
  }
  if (complaints != nullptr) {
    *complaints = std::move(found);
  }
  std::ranges::sort(queues, {}, &Queue::name);
  return queues;
}

std::optional<std::string> FindPort(const std::string& name) {
  const auto wide_name = ToWide(name);
  if (!wide_name || name.find('\\') != std::string::npos) {  // which would lead to the keys below a queue's
    return std::nullopt;
  }
  const auto registry = LoadRegistry();
  const auto* value = registry.FindValue(KeyOf(name), kPortValue);
  auto port = value != nullptr ? value->Text() : std::nullopt;
  if (!port) {
    port = base::FindCupsDevice(*wide_name);
  }
  return port ? std::optional(ToUtf8(*port)) : std::nullopt;
}

void RequireQueue(const std::string& name) {
  Require(LoadRegistry(), name);
}

void RemoveQueue(const std::string& name) {
  RegistryEdit edit;
  Require(*edit, name);
  if (!HasPort(*edit, name) && IsSpoolersQueue(name)) {
    throw QueueError("the queue '" + name + "' is one of CUPS, which removes it with 'lpadmin -x'");
  }
  edit->RemoveKey(KeyOf(name));
  edit.Save();
}

void SetTrace(const std::string& name, bool on) {
  RegistryEdit edit;
  Require(*edit, name);
  SetValue(edit, KeyOf(name) + u"\\PrinterDriverData", kTraceValue,
           base::RegistryValue::FromDword(on ? 1 : 0));
  edit.Save();
}

void CheckQueueStore() {
  const char* const home = base::Variable("CUSTOMBIDI_HOME");
  if (home != nullptr && *home != '\0' && *home != '/') {
    throw QueueError(std::string("CUSTOMBIDI_HOME is not an absolute path: ") + home);
  }
}

std::filesystem::path TraceFilePath() {
  return std::filesystem::path(base::HomeFolder()) / "drive_c/temp/CustomBidi.log";
}

}  // namespace custom_bidi_tools

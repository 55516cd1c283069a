// The frame for g++ on 64-bit Windows: a structured exception handler that takes what Microsoft's compiler
// raises. This file alone needs g++'s assembler; the registers, and what a handler may do when, are those of
// "x64 exception handling" in Microsoft's documentation.

#include <cstdint>
#include <cstring>

#include "src/deviceio/frame/device_frame.h"
#include "src/platform.h"

namespace custom_bidi {
namespace {

/// What a call raised, as the handler leaves it for the frame.
struct Raised {
  bool is_code = false;
  DWORD code = 0;
};

constexpr DWORD kMicrosoftException = 0xE06D7363;  // "msc", and the customer bits: _CxxThrowException
constexpr ULONG_PTR kOldestMagic = 0x19930520;     // of the throw's description; two later ones look alike
constexpr ULONG_PTR kNewestMagic = 0x19930522;

// The throw's description as the compiler lays it down. What it refers to is an offset from its module's
// base, 0 for nothing.
using Offset = int32_t;

struct ThrowDescription {
  DWORD attributes;
  Offset destructor;
  Offset forward_compatible;
  Offset catchable_types;
};

struct CatchableTypes {
  int32_t count;
  Offset types[1];  // `count` of them
};

struct CatchableType {
  DWORD properties;
  Offset type;
};

struct TypeDescriptor {
  const void* table;
  void* spare;
  char name[1];  // decorated, NUL-terminated
};

constexpr char kUnsignedLong[] = ".K";

/// What a structured exception of Microsoft's compiler carries.
class Throw {
 public:
  explicit Throw(const EXCEPTION_RECORD& record) {
    const ULONG_PTR magic = record.NumberParameters >= 4 ? record.ExceptionInformation[0] : 0;
    if (magic < kOldestMagic || magic > kNewestMagic) {
      return;
    }
    object_ = reinterpret_cast<void*>(record.ExceptionInformation[1]);
    description_ = reinterpret_cast<const ThrowDescription*>(record.ExceptionInformation[2]);
    base_ = record.ExceptionInformation[3];
  }

  Raised Value() const {
    Raised raised;
    if (object_ == nullptr || description_ == nullptr || description_->catchable_types == 0) {
      return raised;
    }
    const auto* const list = At<CatchableTypes>(description_->catchable_types);
    // The first is the thrown type itself, the others are what it may also be caught as.
    if (list->count < 1 || !IsUnsignedLong(*At<CatchableType>(list->types[0]))) {
      return raised;
    }
    raised.is_code = true;
    std::memcpy(&raised.code, object_, sizeof(raised.code));
    return raised;
  }

  void Destroy() const {
    if (object_ == nullptr || description_ == nullptr || description_->destructor == 0) {
      return;
    }
    using Destructor = void(void* object);
    reinterpret_cast<Destructor*>(base_ + static_cast<ULONG_PTR>(description_->destructor))(object_);
  }

 private:
  template <class Part>
  const Part* At(Offset offset) const {
    return reinterpret_cast<const Part*>(base_ + static_cast<ULONG_PTR>(offset));
  }

  bool IsUnsignedLong(const CatchableType& type) const {
    return type.type != 0 && std::strcmp(At<TypeDescriptor>(type.type)->name, kUnsignedLong) == 0;
  }

  void* object_ = nullptr;
  const ThrowDescription* description_ = nullptr;
  ULONG_PTR base_ = 0;
};

/// Where the frame keeps the pointer to its Raised, from the stack pointer that it runs with.
constexpr size_t kRaisedSlot = 40;

}  // namespace

extern "C" {

/// Runs `call(context)`; non-zero when it ended by an exception of Microsoft's, whose value is then in
/// `raised`.
int CustomBidiRunInFrame(void (*call)(void*), void* context, void* raised);

/// Where the frame goes on after such an exception.
extern const char kCustomBidiFrameEnd[];

/// The frame's handler, asked once when a handler is looked for and once when the stack is unwound.
EXCEPTION_DISPOSITION CustomBidiFrameHandler(EXCEPTION_RECORD* record,
                                             void* frame,
                                             CONTEXT*,
                                             DISPATCHER_CONTEXT* dispatcher) {
  if (record->ExceptionCode != kMicrosoftException) {
    return ExceptionContinueSearch;
  }
  if ((record->ExceptionFlags & EXCEPTION_UNWIND) == 0) {
    void* slot = nullptr;
    std::memcpy(&slot, static_cast<const BYTE*>(frame) + kRaisedSlot, sizeof(slot));
    *static_cast<Raised*>(slot) = Throw(*record).Value();
    // Unwinds the library's frames, comes back here for this one, and does not return.
    RtlUnwindEx(frame, const_cast<char*>(kCustomBidiFrameEnd), record, reinterpret_cast<void*>(1),
                dispatcher->ContextRecord, dispatcher->HistoryTable);
  } else if ((record->ExceptionFlags & EXCEPTION_TARGET_UNWIND) != 0) {
    // All frames below are unwound, yet their stack, and with it the thrown object, is still there.
    Throw(*record).Destroy();
  }
  return ExceptionContinueSearch;
}

}  // extern "C"

// RCX: call, RDX: context, R8: raised. 56 bytes: 32 for the callee, the slot, and alignment.
asm(R"(
  .text
  .globl CustomBidiRunInFrame
  .globl kCustomBidiFrameEnd
  .seh_proc CustomBidiRunInFrame
CustomBidiRunInFrame:
  subq $56, %rsp
  .seh_stackalloc 56
  .seh_handler CustomBidiFrameHandler, @unwind, @except
  .seh_endprologue
  movq %r8, 40(%rsp)
  movq %rcx, %rax
  movq %rdx, %rcx
  call *%rax
  xorl %eax, %eax
kCustomBidiFrameEnd:
  addq $56, %rsp
  ret
  .seh_endproc
)");

void RunInDeviceFrame(void (*call)(void*), void* context) {
  Raised raised;
  if (CustomBidiRunInFrame(call, context, &raised) == 0) {
    return;
  }
  if (raised.is_code) {
    throw raised.code;
  }
  throw ForeignException();
}

}  // namespace custom_bidi

/* A host written in C: every export by its declaration, and a first answer from the default simulated
 * printer. With an argument: one GetBidiResponse for the queue of that name, whose success is the exit code.
 */

#include <stddef.h>
#include <stdio.h>

#include "custom_bidi.h"

/* The record's own bytes are from the COM task allocator; elsewhere than on Windows that is malloc. */
#ifdef _WIN32
#include <objbase.h>
#define FreeTaskMemory CoTaskMemFree
#else
#include <stdlib.h>
#define FreeTaskMemory free
#endif

_Static_assert(sizeof(CustomBidiChar) == 2 && sizeof(CustomBidiBool) == 4, "UTF-16, 32 bits");
_Static_assert(sizeof(CustomBidiDword) == 4 && sizeof(CustomBidiLong) == 4, "32 bits");
_Static_assert(sizeof(DeviceCertificate) == 40 && offsetof(DeviceCertificate, warnings) == 32, "the record");

static const CustomBidiChar* const kQueue = u"no such queue";
static const CustomBidiChar* const kUser = u"c caller";
static CustomBidiChar response[1 << 20];
static int failures = 0;

#define CHECK(condition) Check((condition), __LINE__)

static void Check(int holds, int line) {
  if (!holds) {
    fprintf(stderr, "c_caller.c:%d: failed\n", line);
    ++failures;
  }
}

static void AskDefaultPrinter(void) {
  CustomBidiLong status = 42;
  CHECK(GetBidiResponse(response, kQueue, NULL, NULL, 0) == 1 && response[0] == '{');
  CHECK(GetStatusData(u"192.0.2.10", response) == 1 && response[1] == '"');
  CHECK(GetPortStatus(kQueue, &status) == 1 && status == kCustomBidiPortNonPhysical);
  CHECK(GetBidiResponse(NULL, kQueue, NULL, NULL, 0) == 0 && GetStatusData(NULL, response) == 0);
  CHECK(GetPortStatus(kQueue, NULL) == 1 && GetPortStatus(NULL, NULL) == 0);
  CHECK(DeletePassword(NULL, kUser, kQueue) == 0 && GetDeviceCertificate(kUser, NULL, 1) == NULL);
  CHECK(SavePassword((const uint8_t*)"secret", 6, kUser, kUser, kQueue) == 1);
  CHECK(IsPasswordPresent(kUser, kUser, kQueue) == 1);
  CHECK(DeletePassword(kUser, kUser, kQueue) == 1);

  DeviceCertificate* record = GetDeviceCertificate(kUser, kQueue, 1);
  CHECK(record != NULL && record->identifier[0] == 0 && record->certificate[0] == 0x30);
  CHECK(VerifyCertificateValidity(kUser, kQueue, 0, record) == 1 && record->warnings[0] == 12038);
  CHECK(DeleteDeviceCertificate(record) && record->certificate == NULL);
  FreeTaskMemory(record);
}

int main(int argc, char** argv) {
  if (argc > 1) {
    CustomBidiChar queue[1024] = {0}; /* of ASCII */
    for (size_t i = 0; argv[1][i] != 0 && i < 1023; ++i) {
      queue[i] = (CustomBidiChar)argv[1][i];
    }
    return GetBidiResponse(response, queue, NULL, NULL, 0) != 1;
  }
  AskDefaultPrinter();
  return failures != 0;
}

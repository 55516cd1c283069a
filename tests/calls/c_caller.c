/* A host written in C: every export by its declaration, and a first answer from the default simulated
 * printer. With an argument: one GetBidiResponse for the queue of that name, whose success is the exit code;
 * with any second one, an IsPasswordPresent in its place.
 */

#include <stddef.h>
#include <stdio.h>
#include <string.h>

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
_Static_assert(sizeof(DeviceCertificate) == 40 && offsetof(DeviceCertificate, identifier) == 0 &&
                   offsetof(DeviceCertificate, certificate_length) == 8 &&
                   offsetof(DeviceCertificate, certificate) == 16 &&
                   offsetof(DeviceCertificate, warning_count) == 24 &&
                   offsetof(DeviceCertificate, warnings) == 32,
               "the record");

enum { kResponseChars = 1 << 20, kNameChars = 1024 };

static CustomBidiChar response[kResponseChars];
static int failures = 0;

#define CHECK(condition) Check((condition), __LINE__)

static void Check(int holds, int line) {
  if (!holds) {
    fprintf(stderr, "c_caller.c:%d: failed\n", line);
    ++failures;
  }
}

/* For ASCII. */
static const CustomBidiChar* Widen(const char* text) {
  static CustomBidiChar wide[kNameChars];
  size_t i = 0;
  for (; text[i] != 0 && i < kNameChars - 1; ++i) {
    wide[i] = (CustomBidiChar)text[i];
  }
  wide[i] = 0;
  return wide;
}

static const char* Narrow(const CustomBidiChar* text) {
  static char narrow[kResponseChars];
  size_t i = 0;
  for (; text[i] != 0; ++i) {
    narrow[i] = text[i] < 128 ? (char)text[i] : '?';
  }
  narrow[i] = 0;
  return narrow;
}

static void AskDefaultPrinter(void) {
  CustomBidiLong status = 42;
  CHECK(GetBidiResponse(response, Widen("no such queue"), NULL, NULL, 0) == 1);
  CHECK(strstr(Narrow(response), "\"SerialNumber\": \"VXQ7C2140387\",") != NULL);
  CHECK(strstr(Narrow(response), "\"JobJsonDeviceCapsComplete\": \"true\",") != NULL);
  CHECK(strstr(Narrow(response), ",\"CID\": \"Vexmo_Quellix_C740\"}") != NULL);

  CHECK(GetStatusData(Widen("192.0.2.10"), response) == 1);
  CHECK(strcmp(Narrow(response), "{\"printerState\":3,\"responseCode\":0,\"statusCode\":0}") == 0);
  CHECK(GetPortStatus(Widen("no such queue"), &status) == 1 && status == kCustomBidiPortNonPhysical);
}

/* The second name is there as long as the first: Widen has one buffer. */
static void ReadDefaultCertificate(void) {
  static CustomBidiChar user[kNameChars];
  static CustomBidiChar copy[kNameChars];
  memcpy(user, Widen("c caller"), sizeof(user));
  DeviceCertificate* record = GetDeviceCertificate(user, Widen("no such queue"), 1);
  CHECK(record != NULL);
  if (record == NULL) {
    return;
  }
  CHECK(record->identifier[0] == 0 && record->certificate_length > 500 && record->certificate[0] == 0x30);
  CHECK(VerifyCertificateValidity(user, Widen("no such queue"), 0, record) == 1);
  CHECK(record->warning_count == 1 && record->warnings[0] == 12038);
  CHECK(DeleteDeviceCertificate(record) && record->certificate == NULL);
  FreeTaskMemory(record);

  memcpy(copy, Widen("c caller target"), sizeof(copy));
  CHECK(SavePassword((const uint8_t*)"secret", 6, user, copy, Widen("no such queue")) == 1);
  CHECK(IsPasswordPresent(user, copy, Widen("no such queue")) == 1);
  CHECK(DeletePassword(user, copy, Widen("no such queue")) == 1);
  CHECK(IsPasswordPresent(user, copy, Widen("no such queue")) == 0);
}

int main(int argc, char** argv) {
  if (argc > 2) {
    return IsPasswordPresent(Widen(argv[1]), Widen(argv[1]), Widen(argv[1])) == 1 ? 0 : 1;
  }
  if (argc > 1) {
    return GetBidiResponse(response, Widen(argv[1]), NULL, NULL, 0) == 1 ? 0 : 1;
  }
  AskDefaultPrinter();
  ReadDefaultCertificate();
  return failures != 0;
}

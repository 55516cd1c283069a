#pragma once

/// What every stand-in's objects have in common: the positions of their tables that nobody calls.

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::support {

class DataCollection : public deviceio::DataCollection {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}

 protected:
  ~DataCollection() = default;
};

class OidProvider : public deviceio::OidProvider {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}

 protected:
  ~OidProvider() = default;
};

class VaultStoreProvider : public deviceio::VaultStoreProvider {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}
  void Reserved5() final {}

 protected:
  ~VaultStoreProvider() = default;
};

class CertificateProvider : public deviceio::CertificateProvider {
 public:
  void Reserved0() final {}
  void Reserved4() final {}
  void Reserved5() final {}
  void Reserved7() final {}

 protected:
  ~CertificateProvider() = default;
};

}  // namespace custom_bidi::support

#include "ixo/simulated/operation.h"

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

const OperationTraits kOperations[kOperationCount] = {
    // name, has_null, has_result, has_subject
    {ixo::kCreateAddressFromQueueName, true, false, true},
    {ixo::kCreateAddressFromPortName, true, false, true},
    {ixo::kCreateAddressFromIpAddress, true, false, true},
    {ixo::kCreateAddressFromHostName, true, false, true},
    {"PrinterAddress.IsActive", true, true, true},
    {"PrinterAddress.GetAddressString", true, false, true},
    {ixo::kCreateDataCollectionFromFile, true, true, true},
    {"DataCollection.GetValue", true, true, true},
    {ixo::kCreateOidProvider, true, false, false},
    {"OidProvider.GetValue", true, true, true},
    {ixo::kGetDeviceLocaleStrings, true, true, true},
    {ixo::kDisposeStringBuffer, false, false, false},
};

}  // namespace custom_bidi::simulated

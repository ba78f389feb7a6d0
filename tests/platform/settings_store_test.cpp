#include "platform/memory/memory_settings_store.h"
#include "platform/settings_store_contract.h"

namespace fenwright::platform {
namespace {

INSTANTIATE_TEST_SUITE_P(InMemory, SettingsStoreContract,
                         testing::Values(SettingsStoreImplementation{
                             "Memory", [] { return std::make_unique<MemorySettingsStore>(); }}),
                         [](const auto& implementation) { return implementation.param.Name; });

}  // namespace
}  // namespace fenwright::platform

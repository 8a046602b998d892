// The names of the event classes. Whatever prints or reads a class takes its name from here.
#pragma once

#include <cstdint>

#include "iml/iml_record.h"

namespace iml {

struct ClassName {
  uint16_t code;
  const char *name;
};

inline constexpr ClassName kClassNames[] = {
    {IML_CLASS_EMPTY, "Empty"},
    {IML_CLASS_TEST, "Internal Test"},
    {IML_CLASS_MACHINE_ENVIRONMENT, "Machine Environment"},
    {IML_CLASS_MAIN_MEMORY, "Main Memory"},
    {IML_CLASS_CACHE_MEMORY, "Cache Memory"},
    {IML_CLASS_CPU, "CPU"},
    {IML_CLASS_HOST_BUS, "Host Bus"},
    {IML_CLASS_EISA_BUS, "EISA Bus"},
    {IML_CLASS_PCI_BUS, "PCI Bus"},
    {IML_CLASS_EXPANSION_SLOT, "Expansion Slot"},
    {IML_CLASS_POST_MESSAGES, "POST Messages"},
    {IML_CLASS_POWER_SUBSYSTEM, "Power Subsystem"},
    {IML_CLASS_UPS, "UPS"},
    {IML_CLASS_ASR, "Automatic Server Recovery"},
    {IML_CLASS_OPERATING_SYSTEM, "Operating System"},
    {IML_CLASS_DIAGNOSTICS, "Diagnostics"},
    {IML_CLASS_NETWORK_ADAPTER, "Network Adapter"},
    {IML_CLASS_SCSI, "SCSI Subsystem"},
    {IML_CLASS_DRIVE_ARRAY, "Drive Array Subsystem"},
    {IML_CLASS_UNRECOVERABLE_SYSTEM_ERROR, "Unrecoverable System Error"},
    {IML_CLASS_SYSTEM_REVISION, "System Revision"},
    {IML_CLASS_MAINTENANCE, "Maintenance"},
    {IML_CLASS_INFRASTRUCTURE, "Infrastructure Environment"},
    {IML_CLASS_KRX, "KRX"},
    {IML_CLASS_PELLORY, "Pellory"},
    {IML_CLASS_POWER_CAPPING, "Power Capping"},
    {IML_CLASS_FLASH_MEDIA, "Flash Media"},
    {IML_CLASS_INTERLOCK, "Interlock"},
    {IML_CLASS_NON_VOLATILE_MEMORY, "Non-Volatile Memory"},
};

// Stands for every class without a name.
inline constexpr char kNamelessClass[] = "Unknown";

// The name of a class, or the fallback if it has none.
constexpr const char *class_name(uint16_t code, const char *fallback = kNamelessClass) {
  for (const ClassName &row : kClassNames) {
    if (row.code == code) {
      return row.name;
    }
  }
  return fallback;
}

}  // namespace iml

// PCI and PCI Express.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void TranslatePciBusError(EventText &szString, const EVT_PCI_BUS &record) {
  Scratch slot_number;
  Scratch bus_number;
  Scratch device_number;
  Scratch function_number;
  const char *const slot = Byte2Str(record.bSlot, slot_number);
  const char *const bus = Byte2Str(record.bBus, bus_number);
  const char *const device = Byte2Str(record.bDevice, device_number);
  const char *const function = Byte2Str(record.bFunction, function_number);
  if (record.Chassis.bId != 0) {
    szString.Format("PCI Bus Error (Chassis %s, Slot %s, Bus %s, Device %s, Function %s)",
                    Byte2Str(record.Chassis.bId, Scratch()), slot, bus, device, function);
  } else {
    szString.Format("PCI Bus Error (Slot %s, Bus %s, Device %s, Function %s)", slot, bus, device, function);
  }
}

const char *GetPciExpressLocation(std::uint8_t bSlot, ScratchRef szDest) {
  if (bSlot == 0) {
    return "Embedded device";
  }
  EventText(szDest).Format("Slot %s", Byte2Str(bSlot, Scratch()));
  return szDest.Buffer();
}

/// Bus, device and function are numbers here, also 255.
void TranslatePciExpressError(EventText &szString, const EVT_PCI_EXPRESS &record) {
  szString.Format("Uncorrectable PCI Express Error (%s, Bus %d, Device %d, Function %d, Error status %s)",
                  GetPciExpressLocation(record.bSlot, Scratch()), record.bBus, record.bDevice,
                  record.bFunction, Dword2HexStr(record.dwErrorStatus, Scratch()));
}

}  // namespace

void TranslateClass08(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: TranslatePciBusError(szString, pEventData->PciBus); break;
    case 2: TranslatePciExpressError(szString, pEventData->PciExpress); break;
    default: break;
  }
}

}  // namespace iml

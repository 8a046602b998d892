// PCI and PCI Express.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void translate_pci_bus_error(EventText &text, const EVT_PCI_BUS &record) {
  if (record.Chassis.bId != 0) {
    text.format("PCI Bus Error (Chassis %s, Slot %s, Bus %s, Device %s, Function %s)",
                Byte2Str(record.Chassis.bId), Byte2Str(record.bSlot), Byte2Str(record.bBus),
                Byte2Str(record.bDevice), Byte2Str(record.bFunction));
  } else {
    text.format("PCI Bus Error (Slot %s, Bus %s, Device %s, Function %s)", Byte2Str(record.bSlot),
                Byte2Str(record.bBus), Byte2Str(record.bDevice), Byte2Str(record.bFunction));
  }
}

const char *get_pci_express_location(uint8_t slot, EventText &text = Scratch().here()) {
  if (slot == 0) {
    return "Embedded device";
  }
  text.format("Slot %s", Byte2Str(slot));
  return text.c_str();
}

// Bus, device and function 255 are shown as numbers.
void translate_pci_express_error(EventText &text, const EVT_PCI_EXPRESS &record) {
  text.format("Uncorrectable PCI Express Error (%s, Bus %d, Device %d, Function %d, Error status %s)",
              get_pci_express_location(record.bSlot), record.bBus, record.bDevice, record.bFunction,
              Dword2HexStr(record.dwErrorStatus));
}

}  // namespace

void TranslateClass08(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: translate_pci_bus_error(szString, pEventData->PciBus); break;
    case 2: translate_pci_express_error(szString, pEventData->PciExpress); break;
    default: break;
  }
}

}  // namespace iml

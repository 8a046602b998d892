// The first 64 bytes of a function's configuration space, as the PCI Local Bus Specification lays them out.
#pragma once

#include <cstddef>
#include <cstdint>

struct PCIClassCode {
  uint8_t ProgIf;
  uint8_t SubClass;
  uint8_t BaseClass;
};
static_assert(sizeof(PCIClassCode) == 3);

struct PCIConfigHeader {
  uint16_t VendorID;
  uint16_t DeviceID;
  uint16_t Command;
  uint16_t Status;
  uint8_t RevID;
  PCIClassCode ClassCode;
  uint8_t CacheLineSize;
  uint8_t LatencyTimer;
  uint8_t HeaderType;
  uint8_t BIST;

  union {
    struct {  // header type 0: a device
      uint32_t BaseAddressReg[6];
      uint32_t Reserved1;
      uint16_t SubVendorID;
      uint16_t SubDeviceID;
      uint32_t ExpROMBaseAddress;
      uint32_t Reserved2[2];
      uint8_t InterruptLine;
      uint8_t InterruptPin;
      uint8_t MinGrant;
      uint8_t MaxLatency;
    } Zero;

    struct {  // header type 1: a PCI-to-PCI bridge
      uint32_t BaseAddressReg[2];
      uint8_t PrimaryBus;
      uint8_t SecondaryBus;
      uint8_t SubordinateBus;
      uint8_t SecondaryLatency;
      uint8_t IOBase;
      uint8_t IOLimit;
      uint16_t SecondaryStatus;
      uint16_t MemoryBase;
      uint16_t MemoryLimit;
      uint16_t PrefetchBase;
      uint16_t PrefetchLimit;
      uint32_t PrefetchBaseUpper32;
      uint32_t PrefetchLimitUpper32;
      uint16_t IOBaseUpper16;
      uint16_t IOLimitUpper16;
      uint32_t Reserved;
      uint32_t ROMBaseAddress;
      uint8_t InterruptLine;
      uint8_t InterruptPin;
      uint16_t BridgeControl;
    } One;
  } Type;
};
static_assert(sizeof(PCIConfigHeader) == 64);
static_assert(offsetof(PCIConfigHeader, ClassCode) == 9);
static_assert(offsetof(PCIConfigHeader, CacheLineSize) == 12);
static_assert(offsetof(PCIConfigHeader, HeaderType) == 14);
static_assert(offsetof(PCIConfigHeader, Type.Zero) == 16);
static_assert(offsetof(PCIConfigHeader, Type.Zero.Reserved1) == 40);
static_assert(offsetof(PCIConfigHeader, Type.Zero.SubVendorID) == 44);
static_assert(offsetof(PCIConfigHeader, Type.Zero.ExpROMBaseAddress) == 48);
static_assert(offsetof(PCIConfigHeader, Type.Zero.InterruptLine) == 60);
static_assert(offsetof(PCIConfigHeader, Type.One) == 16);
static_assert(offsetof(PCIConfigHeader, Type.One.SecondaryBus) == 25);
static_assert(offsetof(PCIConfigHeader, Type.One.SecondaryStatus) == 30);
static_assert(offsetof(PCIConfigHeader, Type.One.PrefetchBaseUpper32) == 40);
static_assert(offsetof(PCIConfigHeader, Type.One.IOBaseUpper16) == 48);
static_assert(offsetof(PCIConfigHeader, Type.One.ROMBaseAddress) == 56);
static_assert(offsetof(PCIConfigHeader, Type.One.InterruptLine) == 60);
static_assert(offsetof(PCIConfigHeader, Type.One.BridgeControl) == 62);

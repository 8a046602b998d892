#include "pci/pcicall.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "driver/channel.h"
#include "pci/paths.h"
#include "platform/kelmintrfc64.h"

namespace {

constexpr size_t kPathSize = 256;

// Configuration registers that have a place in PCIConfigHeader's common part, and the capabilities that
// follow it.
constexpr int kStatus = offsetof(PCIConfigHeader, Status);
constexpr int kCapabilitiesPointer = 0x34;

constexpr unsigned kStatus66MHz = 1U << 5;
constexpr unsigned kStatusCapabilities = 1U << 4;

constexpr uint8_t kCapabilityNone = 0xFF;
constexpr uint8_t kCapabilityPciX = 7;
constexpr int kPciXStatus = 4;  // from the start of the capability
constexpr uint32_t kPciXStatus133MHz = 1U << 17;

// A configuration space of 256 bytes has room for no more aligned capabilities; a longer list is a ring.
constexpr int kMaxCapabilities = 256 / 4;

// A failure that the system reports as -1 must not pass for the size that converts to it.
bool is_complete(ssize_t transferred, size_t size) {
  return transferred >= 0 && static_cast<size_t>(transferred) == size;
}

const char *next_name(DIR *directory, size_t shortest, size_t longest) {
  while (const dirent *entry = readdir(directory)) {
    const size_t length = strlen(entry->d_name);
    if (file_select(entry) != 0 && length >= shortest && length <= longest) {
      return entry->d_name;
    }
  }
  return nullptr;
}

// One step of a walk that owns its directory: null at the end, with the directory closed.
const char *step(DIR **dp, const char *(*next)(DIR *)) {
  if (*dp == nullptr) {
    return nullptr;
  }
  const char *name = next(*dp);
  if (name == nullptr) {
    closedir(*dp);
    *dp = nullptr;
  }
  return name;
}

// The first function of the current bus. A bus without functions ends the whole walk.
int enter_bus(pci_iter *iter) {
  if (iter->bus < 0) {
    return -1;
  }
  const int devfn = first_device(&iter->devdir, iter->bus);
  if (devfn >= 0) {
    return iter->bus << 8 | devfn;
  }
  closedir(iter->busdir);
  iter->busdir = nullptr;
  return -1;
}

}  // namespace

int pci_open(int bus, int dev, int fn, int perm) {
  char path[kPathSize];
  snprintf(path, sizeof(path), "%s/%2.2x/%2.2x.%1.1x", pci_proc_dir, static_cast<unsigned>(bus),
           static_cast<unsigned>(dev), static_cast<unsigned>(fn));
  return orvOpenRequest(path, perm);
}

int pci_close(int fd_pci) {
  return orvCloseRequest(fd_pci);
}

int pci_read_config(int bus, int dev, int fn, int offset, void *value, size_t size) {
  memset(value, 0xFF, size);
  const Channel file(pci_open(bus, dev, fn, kOpenRead));
  if (!file.is_open()) {
    return -1;
  }
  if (is_complete(pread(file.fd(), value, size, offset), size)) {
    return 0;
  }
  memset(value, 0xFF, size);  // a short read may have put something there
  return -1;
}

int pci_read_config_header(int bus, int dev, int fn, PCIConfigHeader *value) {
  return pci_read_config(bus, dev, fn, 0, value, sizeof(*value));
}

int pci_read_config_byte(int bus, int dev, int fn, int offset, uint8_t *value) {
  return pci_read_config(bus, dev, fn, offset, value, sizeof(*value));
}

int pci_read_config_word(int bus, int dev, int fn, int offset, uint16_t *value) {
  return pci_read_config(bus, dev, fn, offset, value, sizeof(*value));
}

int pci_read_config_dword(int bus, int dev, int fn, int offset, uint32_t *value) {
  return pci_read_config(bus, dev, fn, offset, value, sizeof(*value));
}

int pci_write_config(int bus, int dev, int fn, int offset, const void *value, size_t size) {
  const Channel file(pci_open(bus, dev, fn, kOpenReadWrite));
  if (!file.is_open()) {
    return -1;
  }
  return is_complete(pwrite(file.fd(), value, size, offset), size) ? 0 : -1;
}

int pci_write_config_byte(int bus, int dev, int fn, int offset, uint8_t value) {
  return pci_write_config(bus, dev, fn, offset, &value, sizeof(value));
}

int pci_write_config_word(int bus, int dev, int fn, int offset, uint16_t value) {
  return pci_write_config(bus, dev, fn, offset, &value, sizeof(value));
}

int pci_write_config_dword(int bus, int dev, int fn, int offset, uint32_t value) {
  return pci_write_config(bus, dev, fn, offset, &value, sizeof(value));
}

const char *next_bus_name(DIR *buses) {
  return next_name(buses, 2, 2);
}

const char *next_function_name(DIR *bus) {
  return next_name(bus, 4, NAME_MAX);
}

int first_bus(DIR **dp) {
  *dp = opendir(pci_proc_dir);
  return next_bus(dp);
}

int next_bus(DIR **dp) {
  const char *name = step(dp, next_bus_name);
  // The mask keeps a name such as "-1" from reading as the end of the walk.
  return name == nullptr ? -1 : static_cast<int>(strtol(name, nullptr, 16) & 0xFF);
}

int first_device(DIR **dp, int bus) {
  char path[kPathSize];
  snprintf(path, sizeof(path), "%s/%2.2x", pci_proc_dir, static_cast<unsigned>(bus));
  *dp = opendir(path);
  return next_device(dp);
}

int next_device(DIR **dp) {
  const char *name = step(dp, next_function_name);
  if (name == nullptr) {
    return -1;
  }
  const int dev = static_cast<int>(strtol(name, nullptr, 16) & 0x1F);
  const int fn = static_cast<int>(strtol(name + 3, nullptr, 16) & 0x07);
  return dev << 3 | fn;
}

int first_pci_device(pci_iter *iter) {
  iter->devdir = nullptr;
  iter->bus = first_bus(&iter->busdir);
  return enter_bus(iter);
}

int next_pci_device(pci_iter *iter) {
  const int devfn = next_device(&iter->devdir);
  if (devfn >= 0) {
    return iter->bus << 8 | devfn;
  }
  iter->bus = next_bus(&iter->busdir);
  return enter_bus(iter);
}

int file_select(const struct dirent *entry) {
  return strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0 ? 1 : 0;
}

int pci_read_config_speed(int bus, int dev, int fn) {
  uint16_t status;
  if (pci_read_config_word(bus, dev, fn, kStatus, &status) != 0) {
    return 0;
  }
  const int speed = (status & kStatus66MHz) != 0 ? 66 : 33;
  if ((status & kStatusCapabilities) == 0) {
    return speed;
  }

  uint8_t next;
  if (pci_read_config_byte(bus, dev, fn, kCapabilitiesPointer, &next) != 0) {
    return speed;
  }
  for (int step = 0; step < kMaxCapabilities; ++step) {
    const int capability = next & ~3;
    uint8_t id;
    if (capability == 0 || pci_read_config_byte(bus, dev, fn, capability, &id) != 0 ||
        pci_read_config_byte(bus, dev, fn, capability + 1, &next) != 0 || id == kCapabilityNone) {
      return speed;
    }
    if (id == kCapabilityPciX) {
      uint32_t pci_x_status;
      if (pci_read_config_dword(bus, dev, fn, capability + kPciXStatus, &pci_x_status) != 0) {
        return 133;
      }
      return (pci_x_status & kPciXStatus133MHz) != 0 ? 133 : 66;
    }
  }
  return speed;
}

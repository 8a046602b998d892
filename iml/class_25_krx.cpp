// Reports of the service processors on the two KRX node-controller boards.
#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

constexpr uint8_t kUpperBoard = 0x8A;
constexpr uint8_t kLowerBoard = 0x8C;

// The words of messages for the board that reports an event, and for its partner.
struct KrxBoard {
  const char *own;
  const char *other;
  const char *reporter;
};

constexpr KrxBoard get_krx_board(uint8_t board) {
  switch (board) {
    case kUpperBoard: return {"Upper", "Lower", "upper"};
    case kLowerBoard: return {"Lower", "Upper", "lower"};
    default: return {"Unknown", "Unknown", "unknown"};
  }
}

// Each tray numbers its processors from 1; the server counts those of the lower tray backwards.
constexpr char kProc1[] = "Proc 1 (Upper Tray, Processor 1)";
constexpr char kProc2[] = "Proc 2 (Upper Tray, Processor 2)";
constexpr char kProc3[] = "Proc 3 (Upper Tray, Processor 3)";
constexpr char kProc4[] = "Proc 4 (Upper Tray, Processor 4)";
constexpr char kProc5[] = "Proc 5 (Lower Tray, Processor 4)";
constexpr char kProc6[] = "Proc 6 (Lower Tray, Processor 3)";
constexpr char kProc7[] = "Proc 7 (Lower Tray, Processor 2)";
constexpr char kProc8[] = "Proc 8 (Lower Tray, Processor 1)";

constexpr char kUpperKrx1[] = "Upper KRX Board, KRX 1";
constexpr char kUpperKrx2[] = "Upper KRX Board, KRX 2";
constexpr char kLowerKrx1[] = "Lower KRX Board, KRX 1";
constexpr char kLowerKrx2[] = "Lower KRX Board, KRX 2";

// The other ends of one processor's QPI links, by port; "NC" is not connected.
typedef struct _evtKRXchip {
  const char *ports[4];
} KRX_CPU_CHIP;

// One name has no closing parenthesis. The log shows it so.
constexpr KRX_CPU_CHIP kQpiPartners[] = {
    /* Proc 1 */ {{kUpperKrx1, "MainIO", kUpperKrx2, kProc2}},
    /* Proc 2 */ {{kProc1, kUpperKrx1, "MainIO", kUpperKrx2}},
    /* Proc 3 */ {{kUpperKrx1, "SubIO", kUpperKrx2, "Proc 4 (Upper Tray, Processor 4"}},
    /* Proc 4 */ {{kUpperKrx2, kProc3, kUpperKrx1, "SubIO"}},
    /* Proc 8 */ {{kLowerKrx1, "NC", kLowerKrx2, kProc7}},
    /* Proc 7 */ {{kProc8, kLowerKrx2, "NC", kLowerKrx1}},
    /* Proc 6 */ {{kLowerKrx2, "LP IO", kLowerKrx1, kProc5}},
    /* Proc 5 */ {{kLowerKrx1, kProc6, kLowerKrx2, "LP IO"}},
};

// A port of a KRX chip: its kind, its name, and the name of the port it leads to on the other board.
struct FabricPort {
  const char *type;
  const char *own_port;
  const char *partner_port;
};

constexpr FabricPort kFabricPorts[2][6] = {
    // KRX 1
    {{"External", "Port 4", "Port 1"},
     {"External", "Port 3", "Port 2"},
     {"Internal", "", ""},
     {"Internal", "", ""},
     {"External", "Port 2", "Port 3"},
     {"External", "Port 1", "Port 4"}},
    // KRX 2
    {{"External", "Port 5", "Port 8"},
     {"External", "Port 8", "Port 5"},
     {"External", "Port 6", "Port 7"},
     {"External", "Port 7", "Port 6"},
     {"Internal", "", ""},
     {"Internal", "", ""}},
};

const char *get_krx_chip(uint8_t board, bool second) {
  if (board == kUpperBoard) {
    return second ? kUpperKrx2 : kUpperKrx1;
  }
  return second ? kLowerKrx2 : kLowerKrx1;
}

const char *get_source_module(const EVT_DS2_ACCESS_TYPE &record) {
  switch (GetBigEndianValue(record.src_modid, sizeof(record.src_modid))) {
    case 0x0000: return get_krx_chip(record.krx_board, (record.ds2_port_wr_op & 0xF0) != 0);
    case 0x0100: return "Main IO";
    case 0x0101: return "LP (Low Profile) IO";
    case 0x0300: return "Sub IO";
    case 0x0400: return kProc1;
    case 0x0401: return kProc5;
    case 0x0500: return kProc2;
    case 0x0501: return kProc6;
    case 0x0600: return kProc3;
    case 0x0601: return kProc7;
    case 0x0700: return kProc4;
    case 0x0701: return kProc8;
    default: return szUnknown;
  }
}

// The sockets that are set in a bitmap, as the ten texts that the messages show.
std::array<const char *, 10> get_sockets(uint8_t map, const char *upper_tray, const char *lower_tray) {
  const auto socket = [map](unsigned bit, const char *name) { return (map >> bit & 1) != 0 ? name : ""; };
  return {(map & 0x0F) != 0 ? upper_tray : "",
          socket(0, " 1"),
          socket(1, " 2"),
          socket(2, " 3"),
          socket(3, " 4"),
          (map & 0xF0) != 0 ? lower_tray : "",
          socket(4, " 1"),
          socket(5, " 2"),
          socket(6, " 3"),
          socket(7, " 4")};
}

void translate_peci_access(EventText &text, const EVT_PECI_ACCESS_TYPE &record, const KrxBoard &board) {
  const bool upper = record.krx_board == kUpperBoard;
  const bool lower_of_pair = upper ? record.peci_target == '0' : record.peci_target == '1';
  const int socket = (record.peci_interface == 0 ? 1 : 3) + (lower_of_pair ? 0 : 1);
  text.format(
      "Proc %d (%s Tray, Processor %d) side-band access failure reported by %s KRX board service processor.  Details: 0x%02X 0x%08X 0x%02X 0x%08X",
      upper ? socket : 9 - socket, board.own, socket, board.reporter, record.wr_op,
      GetBigEndianValue(record.addr, sizeof(record.addr)), record.err_code,
      GetBigEndianValue(record.data, sizeof(record.data)));
}

void translate_ds2_access(EventText &text, const EVT_DS2_ACCESS_TYPE &record, const KrxBoard &board) {
  text.format(
      "%s access failure reported by %s KRX board service processor.  Details: 0x%02X 0x%08X%08X 0x%02X",
      get_source_module(record), board.reporter, record.ds2_port_wr_op,
      GetBigEndianValue(record.addr_lsh, sizeof(record.addr_lsh)),
      GetBigEndianValue(record.addr_msh, sizeof(record.addr_msh)), record.rsp_code);
}

void translate_cpu_sku_error(EventText &text, const EVT_KRX_CPU_SKU_ERROR &record, const KrxBoard &board) {
  const bool unsupported = record.cpu_sku_unsupported_map != 0;
  const auto sockets = get_sockets(unsupported ? record.cpu_sku_unsupported_map : record.cpu_sku_mismatch_map,
                                   "   Upper Tray, Processor(s)", "   Lower Tray, Processor(s)");
  text.format(
      "%s processor configuration: %s %s %s %s %s %s %s %s %s %s - reported by %s KRX board service processor.  Details: 0x%02X 0x%04X 0x%04X",
      unsupported ? "Unsupported" : "Mismatched", sockets[0], sockets[1], sockets[2], sockets[3], sockets[4],
      sockets[5], sockets[6], sockets[7], sockets[8], sockets[9], board.reporter, record.cpu_sku_mismatch_map,
      GetBigEndianValue(record.cpu_mpsup, sizeof(record.cpu_mpsup)),
      GetBigEndianValue(record.cpu_qpi_speed, sizeof(record.cpu_qpi_speed)));
}

// The socket index is not checked: the numbers of a socket that no board has are computed in the same way.
void translate_sys_socket(EventText &text, const EVT_KRX_SYS_SOCKET &record, const KrxBoard &board) {
  const bool lower = record.krx_board == kLowerBoard;
  const int index = record.data_item;
  text.format(
      "Proc %d (%s Tray, Processor %d) initialization failure reported by %s KRX board service processor",
      lower ? index + 5 : index + 1, board.own, lower ? 4 - index : index + 1, board.reporter);
}

void translate_qpi_link_training(EventText &text, const EVT_KRX_LINK_TRAINING_ERROR &record,
                                 const KrxBoard &board) {
  const bool upper = record.krx_board == kUpperBoard;
  const int chip = record.chip_index;
  const auto socket = static_cast<uint8_t>(upper ? chip + 1 : 4 - chip);
  const auto proc = static_cast<uint8_t>(upper ? chip + 1 : 5 + chip);
  const auto row = static_cast<uint8_t>(upper ? chip : 7 - chip);
  const char *const partner =
      row < std::size(kQpiPartners) ? kQpiPartners[row].ports[record.port_index & 3] : szUnknown;
  switch (record.link_status) {
    case 2:
      text.format(
          "QPI Link between Proc %d (%s Tray, Processor %d) and %s trained in reduced-width mode reported by %s KRX board service processor, link status 0x%02X",
          proc, board.own, socket, partner, board.reporter, record.link_status);
      break;
    case 3:
    case 4:
      text.format(
          "QPI Link training failure between Proc %d (%s Tray, Processor %d) and %s reported by %s KRX board service processor, link status 0x%02X",
          proc, board.own, socket, partner, board.reporter, record.link_status);
      break;
    default: text.format("KRX event %d occurred", 7); break;
  }
}

// The fabric port of a link; null when there is no such chip, port or board.
const FabricPort *get_fabric_port(const EVT_KRX_LINK_TRAINING_ERROR &record) {
  const bool known_board = record.krx_board == kUpperBoard || record.krx_board == kLowerBoard;
  if (!known_board || record.chip_index >= std::size(kFabricPorts) ||
      record.port_index >= std::size(kFabricPorts[0])) {
    return nullptr;
  }
  return &kFabricPorts[record.chip_index][record.port_index];
}

void translate_fabric_link_training(EventText &text, const EVT_KRX_LINK_TRAINING_ERROR &record,
                                    const KrxBoard &board) {
  const FabricPort *const port = get_fabric_port(record);
  if (port == nullptr) {
    text.format(
        "Link training failure reported by %s KRX board service processor.  Details: 0x%02X 0x%02X 0x%02X",
        board.reporter, record.chip_index, record.port_index, record.link_status);
    return;
  }
  const int krx = record.chip_index + 1;
  if (record.link_status == 3) {
    text.format(
        "%s link training failure between %s KRX Board, KRX %d %s and %s KRX Board, KRX %d %s reported by %s KRX board service processor.  Details: 0x%02X",
        port->type, board.own, krx, port->own_port, board.other, krx, port->partner_port, board.reporter,
        record.link_status);
  } else {
    text.format(
        "%s link with reduced bandwidth between %s KRX Board, KRX %d %s and %s KRX Board, KRX %d %s reported by %s KRX board service processor.  Details: 0x%02X",
        port->type, board.own, krx, port->own_port, board.other, krx, port->partner_port, board.reporter,
        record.link_status);
  }
}

void translate_socket_count(EventText &text, const EVT_KRX_SYS_SOCKET &record, const KrxBoard &board) {
  if (record.data_item == 0) {
    text.format(
        "Invalid processor configuration.  No enabled or installed processors reported by %s KRX board service processor",
        board.reporter);
  } else {
    text.format("Processor configuration degraded to %d sockets reported by %s KRX board service processor",
                record.data_item, board.reporter);
  }
}

void translate_socket_disablement(EventText &text, const EVT_KRX_SOCKET_DISABLEMENT &record,
                                  const KrxBoard &board) {
  const auto sockets =
      get_sockets(record.error_socket, "Upper Tray, Processor(s)", "Lower Tray, Processor(s)");
  text.format(
      "%s %s %s %s %s %s %s %s %s %s disabled by %s KRX board service processor.  Details: 0x%02X 0x%02X 0x%02X 0x%02X 0x%02X",
      sockets[0], sockets[1], sockets[2], sockets[3], sockets[4], sockets[5], sockets[6], sockets[7],
      sockets[8], sockets[9], board.reporter, record.error_cause, record.sockets_noerror_reg,
      record.sockets_enabled_reg, record.sockets_noerror_reg_prev, record.sockets_enabled_reg_prev);
}

void translate_io_disablement(EventText &text, const EVT_KRX_IO_DISABLEMENT &record, const KrxBoard &board) {
  static constexpr const char *kIoBoards[] = {"Main IO", "Sub IO", "Low Profile (LP) IO"};
  text.format("%s disabled by %s KRX board service processor. Details: 0x%02X 0x%02X 0x%02X",
              Lookup(kIoBoards, record.error_io, "Unrecognized IO Board"), board.reporter, record.error_cause,
              record.io_reg, record.io_reg_prev);
}

// Appends the record's bytes from offset `first` up to its length, which may claim more than the payload.
void append_bytes(EventText &text, const EVT_FREE_FORM &payload, size_t first) {
  const size_t end = std::min<size_t>(payload.KRX_Rom_Error.byte_count, sizeof(payload));
  for (size_t i = first; i < end; ++i) {
    text.format(" 0x%02x", payload.ExtendDataSize[i]);
  }
}

// Records of ROM errors begin with their length, not with the board: board and chip are bits of krx_number.
void translate_rom_error(EventText &text, uint16_t event_code, const EVT_FREE_FORM &payload) {
  constexpr size_t kData = offsetof(EVT_KRX_ROM_ERROR, data);
  const EVT_KRX_ROM_ERROR &record = payload.KRX_Rom_Error;
  const char *const board = (record.krx_number & 2) != 0 ? "Lower" : "Upper";
  const int chip = (record.krx_number & 1) + 1;
  switch (event_code) {
    case 192:
      text.format("Uncorrectable error detected on %s KRX Board, KRX %d. Details:", board, chip);
      append_bytes(text, payload, kData);
      break;
    case 193:
      text.format("Correctable error detected on %s KRX Board, KRX %d. Details:", board, chip);
      append_bytes(text, payload, kData);
      break;
    case 196:
      text.format("Uncorrectable fabric error detected on %s KRX Board, KRX %d, link %d. Details:", board,
                  chip, record.data[0]);
      append_bytes(text, payload, kData + 1);
      break;
    case 197:
      text.format("Correctable fabric error detected on %s KRX Board, KRX %d, link %d. Details:", board, chip,
                  record.data[0]);
      append_bytes(text, payload, kData + 1);
      break;
    default: break;
  }
}

}  // namespace

void TranslateClass25(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const KrxBoard board = get_krx_board(pEventData->KRX_Generic.board);
  const EVT_KRX_FAULT &fault = pEventData->KRX_Fault;
  switch (wEventCode) {
    case 1: translate_peci_access(szString, pEventData->KRX_Peci_Access, board); break;
    case 2: translate_ds2_access(szString, pEventData->KRX_DS2_Access, board); break;
    case 4: translate_cpu_sku_error(szString, pEventData->KRX_SKU_Error, board); break;
    case 6: translate_sys_socket(szString, pEventData->KRX_Socket, board); break;
    case 7: translate_qpi_link_training(szString, pEventData->KRX_Link_Error, board); break;
    case 8: translate_fabric_link_training(szString, pEventData->KRX_Link_Error, board); break;
    case 9:
      szString.format(
          "KRX Cube Assembly failure.  %s KRX board service processor response timeout reported by %s KRX board service processor",
          board.other, board.reporter);
      break;
    case 10:
      szString.format(
          "KRX Cube Assembly failure.  %s KRX board not detected by %s KRX board service processor",
          board.other, board.reporter);
      break;
    case 52:
      szString.format("System initialization failure reported by %s KRX board service processor",
                      board.reporter);
      break;
    case 53: translate_socket_count(szString, pEventData->KRX_Socket, board); break;
    case 57: translate_socket_disablement(szString, pEventData->KRX_Socket_Disable, board); break;
    case 64: translate_io_disablement(szString, pEventData->KRX_IO_Disable, board); break;
    case 81: szString.format("Events from %s KRX board server processor were dropped", board.reporter); break;
    case 128:
      szString.format("Power fault occurred on %s KRX board. Details: 0x%02X", board.reporter,
                      fault.faultByte);
      break;
    case 129:
      szString.format("Reset occurred on %s KRX board service processor. Details: 0x%02X", board.reporter,
                      fault.faultByte);
      break;
    case 130:
      szString.format("%s KRX board service processor initialization fault. Details: 0x%02X", board.reporter,
                      fault.faultByte);
      break;
    case 131:
      szString.format("Unexpected %s KRX board service processor FPGA Reconfiguration", board.reporter);
      break;
    case 132: szString.format("KRX %s board service processor is not available", board.reporter); break;
    case 192:
    case 193:
    case 196:
    case 197: translate_rom_error(szString, wEventCode, *pEventData); break;
    default: szString.format("Unknown KRX event occurred, Code 0x%02X", wEventCode); break;
  }
}

}  // namespace iml

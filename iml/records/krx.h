// Node controller (class 0x25). The board is 0x8A upper, 0x8C lower, anything else unknown. Byte arrays are
// numbers with the most significant byte first.
#pragma once

#include "iml/records/common.h"

// Codes 9, 10, 52, 81, 131, 132.
typedef struct IML_PACKED _evtKrxGeneric {
  uint8_t board;
} EVT_KRX_GENERIC;
IML_ASSERT_SIZE(EVT_KRX_GENERIC, 1);

// Code 1.
typedef struct IML_PACKED _evtPeciAccessType {
  uint8_t krx_board;
  uint8_t peci_interface;  // 0 the first pair of sockets, other the second
  uint8_t peci_target;     // a character
  uint8_t err_code;
  uint8_t wr_op;
  uint8_t addr[4];
  uint8_t data[4];
} EVT_PECI_ACCESS_TYPE;
IML_ASSERT_SIZE(EVT_PECI_ACCESS_TYPE, 13);
IML_ASSERT_OFFSET(EVT_PECI_ACCESS_TYPE, addr, 5);
IML_ASSERT_OFFSET(EVT_PECI_ACCESS_TYPE, data, 9);

// Code 2.
typedef struct IML_PACKED _evtDs2AccessType {
  uint8_t krx_board;
  uint8_t ds2_port_wr_op;  // high nibble: 0 KRX 1, other KRX 2, when the source is a KRX chip
  uint8_t rsp_code;
  uint8_t addr_lsh[4];
  uint8_t addr_msh[4];
  uint8_t src_modid[2];
} EVT_DS2_ACCESS_TYPE;
IML_ASSERT_SIZE(EVT_DS2_ACCESS_TYPE, 13);
IML_ASSERT_OFFSET(EVT_DS2_ACCESS_TYPE, addr_lsh, 3);
IML_ASSERT_OFFSET(EVT_DS2_ACCESS_TYPE, addr_msh, 7);
IML_ASSERT_OFFSET(EVT_DS2_ACCESS_TYPE, src_modid, 11);

// Code 4.
typedef struct IML_PACKED _evtKrxCpuSkuError {
  uint8_t krx_board;
  uint8_t cpu_sku_unsupported_map;  // bits 0 to 3 upper tray, 4 to 7 lower tray
  uint8_t cpu_sku_mismatch_map;     // same bits
  uint8_t cpu_mpsup[2];
  uint8_t cpu_qpi_speed[2];
} EVT_KRX_CPU_SKU_ERROR;
IML_ASSERT_SIZE(EVT_KRX_CPU_SKU_ERROR, 7);
IML_ASSERT_OFFSET(EVT_KRX_CPU_SKU_ERROR, cpu_mpsup, 3);
IML_ASSERT_OFFSET(EVT_KRX_CPU_SKU_ERROR, cpu_qpi_speed, 5);

// Codes 7, 8.
typedef struct IML_PACKED _evtKrxLinkTrainingError {
  uint8_t krx_board;
  uint8_t chip_index;
  uint8_t port_index;
  uint8_t link_status;
} EVT_KRX_LINK_TRAINING_ERROR;
IML_ASSERT_SIZE(EVT_KRX_LINK_TRAINING_ERROR, 4);

// Codes 6, 53.
typedef struct IML_PACKED _evtKrxSysSocket {
  uint8_t krx_board;
  uint8_t data_item;  // code 6: socket index from 0, code 53: number of sockets
} EVT_KRX_SYS_SOCKET;
IML_ASSERT_SIZE(EVT_KRX_SYS_SOCKET, 2);

// Code 57.
typedef struct IML_PACKED _evtKrxSocketDisablement {
  uint8_t krx_board;
  uint8_t error_socket;  // bits 0 to 3 upper tray, 4 to 7 lower tray
  uint8_t error_cause;
  uint8_t sockets_noerror_reg;
  uint8_t sockets_enabled_reg;
  uint8_t sockets_noerror_reg_prev;
  uint8_t sockets_enabled_reg_prev;
} EVT_KRX_SOCKET_DISABLEMENT;
IML_ASSERT_SIZE(EVT_KRX_SOCKET_DISABLEMENT, 7);

// Code 64.
typedef struct IML_PACKED _evtKrxIoDisablement {
  uint8_t krx_board;
  uint8_t error_io;  // 0 main, 1 sub, 2 low profile
  uint8_t error_cause;
  uint8_t io_reg;
  uint8_t io_reg_prev;
} EVT_KRX_IO_DISABLEMENT;
IML_ASSERT_SIZE(EVT_KRX_IO_DISABLEMENT, 5);

// Codes 128 to 130.
typedef struct IML_PACKED _evtKrxFault {
  uint8_t krx_board;
  uint8_t faultByte;
} EVT_KRX_FAULT;
IML_ASSERT_SIZE(EVT_KRX_FAULT, 2);

// Codes 192, 193, 196, 197.
typedef struct IML_PACKED _evtKrxRomError {
  uint8_t byte_count;  // of the record: byte_count - 2 bytes of data
  uint8_t krx_number;  // bit 1: 0 upper board, 1 lower; bit 0: 0 KRX 1, 1 KRX 2
  uint8_t data[1];     // codes 196, 197: the first is the link
} EVT_KRX_ROM_ERROR;
IML_ASSERT_SIZE(EVT_KRX_ROM_ERROR, 3);

#pragma once
// Thread contract: safe from any thread (the library calls these on its own threads).
//
// What the account and device-identity hooks of the client library (sxm_getAccount, ...,
// declared in sxmlib.h) forward to: the library's records filled from, and stored into, the
// host's settings through SiriusSettings.

#include <sxmlib.h>

/// Fills the eight texts of `account` from the stored account, each a fresh zero-terminated
/// Latin-1 copy (empty when nothing is stored). 1; 0 for a null record or when memory ran out
/// (the record's texts are then all null).
int platformGetAccount(sxm_account* account);
/// Stores the record's eight texts (read as Latin-1; a null text as empty) as the account.
void platformSetAccount(sxm_account* account);
/// Frees the texts that platformGetAccount allocated and nulls them.
void platformFreeAccount(sxm_account* account);

/// Each copies the first min(length, size) Latin-1 bytes of its setting into `buffer`, without
/// a terminating zero, and returns that count; 0 for a null buffer or a size below 1.
int platformGetMAC(char* buffer, int size);
int platformGetConfigUrl(char* buffer, int size);
int platformGetDeviceMake(char* buffer, int size);
int platformGetDeviceModel(char* buffer, int size);
int platformGetFixedKey(char* buffer, int size);

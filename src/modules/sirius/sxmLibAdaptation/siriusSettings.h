#pragma once
// Thread contract: safe from any thread (the host's root, CMRoot(), is).
//
// The host settings that the client library needs: the user's account and the device's identity,
// read from and written to the host's value tree.

#include <mivosdk/MivoSiriusAccount.h>

#include <QString>

class SiriusSettings
{
public:
    SiriusSettings() = delete;

    /// The stored account; empty when none is stored.
    static MivoSiriusAccount getAccount();
    /// Stores the account (the host persists it).
    static void setAccount(const MivoSiriusAccount& account);

    /// Text settings; each empty when absent.
    static QString getMAC();
    static QString getConfigUrl();
    static QString getDeviceMake();
    static QString getDeviceModel();
    static QString getFixedKey();
};

#pragma once
// Thread contract: plain values; safe to copy between threads.
// All of the host's SiriusXM value types in one include.

#include "mivosdk/MivoSiriusAccount.h"
#include "mivosdk/MivoSiriusBypassStatus.h"
#include "mivosdk/MivoSiriusContent.h"
#include "mivosdk/MivoSiriusEnums.h"
#include "mivosdk/MivoSiriusErrorNotification.h"
#include "mivosdk/MivoSiriusFavorite.h"
#include "mivosdk/MivoSiriusLogo.h"
#include "mivosdk/MivoSiriusPdtCut.h"
#include "mivosdk/MivoSiriusPlayable.h"
#include "mivosdk/MivoSiriusSegmentTime.h"
#include "mivosdk/MivoSiriusTimebar.h"
#include "mivosdk/MivoSiriusTrackMetadata.h"

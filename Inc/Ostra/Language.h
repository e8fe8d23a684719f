/// \file
/// The application's registry locations and its user-interface language.
///
/// The four key paths are built once, on first use, from the client name and
/// internal version the core library reports, and are relative to a registry
/// root: pass them to RegistryKey::Open or Create with the root you need.
/// The returned references stay valid for the life of the library.
///
/// The language identifier is a Windows LANGID (primary language in the low
/// 10 bits, sub-language above). It is read once from the string value
/// "Language" under the base key in the current user's hive (a locale code
/// such as "ja_JP" or a decimal number), 1033 when there is none, and may be
/// overridden for the process; the override is never written back.
///
/// All functions are thread-safe.
#pragma once

#include "Ostra/OstraConfig.h"

namespace Ostra {

/// `Software\Corvane\<client>\<version>\`
OSTRA_API const UTF16String& GetRegistryBaseKey();
/// `Software\Corvane\<client>\CurrentVersion`, without a trailing separator.
OSTRA_API const UTF16String& GetRegistryCurrentVersionKey();
/// The base key followed by "Help\".
OSTRA_API const UTF16String& GetRegistryHelpKey();
/// The base key followed by "Settings\".
OSTRA_API const UTF16String& GetRegistrySettingsKey();

/// The process's language identifier; the registry is read on the first call
/// only, and not at all once one of the setters has run.
OSTRA_API unsigned short GetLanguageID();
/// GetLanguageID() without its sub-language.
OSTRA_API unsigned short GetPrimaryLanguageID();
/// Sets the identifier for this process only.
OSTRA_API void SetLanguageID(unsigned short inLanguageID);
/// The locale code of the identifier ("ja_JP"); "en_US" for any identifier
/// without one of the sixteen known codes.
OSTRA_API UTF16String GetLanguageString();
/// Sets the identifier from one of the sixteen locale codes (exact case, an
/// underscore between the parts) or else from the decimal number the text
/// starts with (its low 16 bits); text that is neither gives 0.
OSTRA_API void SetLanguageString(const UTF16String& inLocaleCode);

/// Primary language and sub-language identifiers, equal to the Windows
/// LANG_* and SUBLANG_* values of the same names.
///@{
constexpr unsigned short kLanguage_Neutral = 0x00;
constexpr unsigned short kLanguage_Invariant = 0x7F;
constexpr unsigned short kLanguage_Afrikaans = 0x36;
constexpr unsigned short kLanguage_Albanian = 0x1C;
constexpr unsigned short kLanguage_Arabic = 0x01;
constexpr unsigned short kLanguage_Armenian = 0x2B;
constexpr unsigned short kLanguage_Assamese = 0x4D;
constexpr unsigned short kLanguage_Azeri = 0x2C;
constexpr unsigned short kLanguage_Basque = 0x2D;
constexpr unsigned short kLanguage_Belarusian = 0x23;
constexpr unsigned short kLanguage_Bengali = 0x45;
constexpr unsigned short kLanguage_Bulgarian = 0x02;
constexpr unsigned short kLanguage_Catalan = 0x03;
constexpr unsigned short kLanguage_Chinese = 0x04;
constexpr unsigned short kLanguage_Croatian = 0x1A;
constexpr unsigned short kLanguage_Czech = 0x05;
constexpr unsigned short kLanguage_Danish = 0x06;
constexpr unsigned short kLanguage_Divehi = 0x65;
constexpr unsigned short kLanguage_Dutch = 0x13;
constexpr unsigned short kLanguage_English = 0x09;
constexpr unsigned short kLanguage_Estonian = 0x25;
constexpr unsigned short kLanguage_Faeroese = 0x38;
constexpr unsigned short kLanguage_Farsi = 0x29;
constexpr unsigned short kLanguage_Finnish = 0x0B;
constexpr unsigned short kLanguage_French = 0x0C;
constexpr unsigned short kLanguage_Galician = 0x56;
constexpr unsigned short kLanguage_Georgian = 0x37;
constexpr unsigned short kLanguage_German = 0x07;
constexpr unsigned short kLanguage_Greek = 0x08;
constexpr unsigned short kLanguage_Gujarati = 0x47;
constexpr unsigned short kLanguage_Hebrew = 0x0D;
constexpr unsigned short kLanguage_Hindi = 0x39;
constexpr unsigned short kLanguage_Hungarian = 0x0E;
constexpr unsigned short kLanguage_Icelandic = 0x0F;
constexpr unsigned short kLanguage_Indonesian = 0x21;
constexpr unsigned short kLanguage_Italian = 0x10;
constexpr unsigned short kLanguage_Japanese = 0x11;
constexpr unsigned short kLanguage_Kannada = 0x4B;
constexpr unsigned short kLanguage_Kashmiri = 0x60;
constexpr unsigned short kLanguage_Kazak = 0x3F;
constexpr unsigned short kLanguage_Konkani = 0x57;
constexpr unsigned short kLanguage_Korean = 0x12;
constexpr unsigned short kLanguage_Kyrgyz = 0x40;
constexpr unsigned short kLanguage_Latvian = 0x26;
constexpr unsigned short kLanguage_Lithuanian = 0x27;
constexpr unsigned short kLanguage_Macedonian = 0x2F;
constexpr unsigned short kLanguage_Malay = 0x3E;
constexpr unsigned short kLanguage_Malayalam = 0x4C;
constexpr unsigned short kLanguage_Manipuri = 0x58;
constexpr unsigned short kLanguage_Marathi = 0x4E;
constexpr unsigned short kLanguage_Mongolian = 0x50;
constexpr unsigned short kLanguage_Nepali = 0x61;
constexpr unsigned short kLanguage_Norwegian = 0x14;
constexpr unsigned short kLanguage_Oriya = 0x48;
constexpr unsigned short kLanguage_Polish = 0x15;
constexpr unsigned short kLanguage_Portuguese = 0x16;
constexpr unsigned short kLanguage_Punjabi = 0x46;
constexpr unsigned short kLanguage_Romanian = 0x18;
constexpr unsigned short kLanguage_Russian = 0x19;
constexpr unsigned short kLanguage_Sanskrit = 0x4F;
constexpr unsigned short kLanguage_Serbian = 0x1A;
constexpr unsigned short kLanguage_Sindhi = 0x59;
constexpr unsigned short kLanguage_Slovak = 0x1B;
constexpr unsigned short kLanguage_Slovenian = 0x24;
constexpr unsigned short kLanguage_Spanish = 0x0A;
constexpr unsigned short kLanguage_Swahili = 0x41;
constexpr unsigned short kLanguage_Swedish = 0x1D;
constexpr unsigned short kLanguage_Syriac = 0x5A;
constexpr unsigned short kLanguage_Tamil = 0x49;
constexpr unsigned short kLanguage_Tatar = 0x44;
constexpr unsigned short kLanguage_Telugu = 0x4A;
constexpr unsigned short kLanguage_Thai = 0x1E;
constexpr unsigned short kLanguage_Turkish = 0x1F;
constexpr unsigned short kLanguage_Ukrainian = 0x22;
constexpr unsigned short kLanguage_Urdu = 0x20;
constexpr unsigned short kLanguage_Uzbek = 0x43;
constexpr unsigned short kLanguage_Vietnamese = 0x2A;

constexpr unsigned short kSubLanguage_Neutral = 0x00;
constexpr unsigned short kSubLanguage_Default = 0x01;
constexpr unsigned short kSubLanguage_Sys_Default = 0x02;
constexpr unsigned short kSubLanguage_Arabic_Saudi_Arabia = 0x01;
constexpr unsigned short kSubLanguage_Arabic_Iraq = 0x02;
constexpr unsigned short kSubLanguage_Arabic_Egypt = 0x03;
constexpr unsigned short kSubLanguage_Arabic_Libya = 0x04;
constexpr unsigned short kSubLanguage_Arabic_Algeria = 0x05;
constexpr unsigned short kSubLanguage_Arabic_Morocco = 0x06;
constexpr unsigned short kSubLanguage_Arabic_Tunisia = 0x07;
constexpr unsigned short kSubLanguage_Arabic_Oman = 0x08;
constexpr unsigned short kSubLanguage_Arabic_Yemen = 0x09;
constexpr unsigned short kSubLanguage_Arabic_Syria = 0x0A;
constexpr unsigned short kSubLanguage_Arabic_Jordan = 0x0B;
constexpr unsigned short kSubLanguage_Arabic_Lebanon = 0x0C;
constexpr unsigned short kSubLanguage_Arabic_Kuwait = 0x0D;
constexpr unsigned short kSubLanguage_Arabic_Uae = 0x0E;
constexpr unsigned short kSubLanguage_Arabic_Bahrain = 0x0F;
constexpr unsigned short kSubLanguage_Arabic_Qatar = 0x10;
constexpr unsigned short kSubLanguage_Azeri_Latin = 0x01;
constexpr unsigned short kSubLanguage_Azeri_Cyrillic = 0x02;
constexpr unsigned short kSubLanguage_Chinese_Traditional = 0x01;
constexpr unsigned short kSubLanguage_Chinese_Simplified = 0x02;
constexpr unsigned short kSubLanguage_Chinese_Hongkong = 0x03;
constexpr unsigned short kSubLanguage_Chinese_Singapore = 0x04;
constexpr unsigned short kSubLanguage_Chinese_Macau = 0x05;
constexpr unsigned short kSubLanguage_Dutch = 0x01;
constexpr unsigned short kSubLanguage_Dutch_Belgian = 0x02;
constexpr unsigned short kSubLanguage_English_US = 0x01;
constexpr unsigned short kSubLanguage_English_UK = 0x02;
constexpr unsigned short kSubLanguage_English_Aus = 0x03;
constexpr unsigned short kSubLanguage_English_Can = 0x04;
constexpr unsigned short kSubLanguage_English_NZ = 0x05;
constexpr unsigned short kSubLanguage_English_Eire = 0x06;
constexpr unsigned short kSubLanguage_English_South_Africa = 0x07;
constexpr unsigned short kSubLanguage_English_Jamaica = 0x08;
constexpr unsigned short kSubLanguage_English_Caribbean = 0x09;
constexpr unsigned short kSubLanguage_English_Belize = 0x0A;
constexpr unsigned short kSubLanguage_English_Trinidad = 0x0B;
constexpr unsigned short kSubLanguage_English_Zimbabwe = 0x0C;
constexpr unsigned short kSubLanguage_English_Philippines = 0x0D;
constexpr unsigned short kSubLanguage_French = 0x01;
constexpr unsigned short kSubLanguage_French_Belgian = 0x02;
constexpr unsigned short kSubLanguage_French_Canadian = 0x03;
constexpr unsigned short kSubLanguage_French_Swiss = 0x04;
constexpr unsigned short kSubLanguage_French_Luxembourg = 0x05;
constexpr unsigned short kSubLanguage_French_Monaco = 0x06;
constexpr unsigned short kSubLanguage_German = 0x01;
constexpr unsigned short kSubLanguage_German_Swiss = 0x02;
constexpr unsigned short kSubLanguage_German_Austrian = 0x03;
constexpr unsigned short kSubLanguage_German_Luxembourg = 0x04;
constexpr unsigned short kSubLanguage_German_Liechtenstein = 0x05;
constexpr unsigned short kSubLanguage_Italian = 0x01;
constexpr unsigned short kSubLanguage_Italian_Swiss = 0x02;
constexpr unsigned short kSubLanguage_Kashmiri_Sasia = 0x02;
constexpr unsigned short kSubLanguage_Kashmiri_India = 0x02;
constexpr unsigned short kSubLanguage_Korean = 0x01;
constexpr unsigned short kSubLanguage_Lithuanian = 0x01;
constexpr unsigned short kSubLanguage_Malay_Malaysia = 0x01;
constexpr unsigned short kSubLanguage_Malay_Brunei_Darussalam = 0x02;
constexpr unsigned short kSubLanguage_Nepali_India = 0x02;
constexpr unsigned short kSubLanguage_Norwegian_Bokmal = 0x01;
constexpr unsigned short kSubLanguage_Norwegian_Nynorsk = 0x02;
constexpr unsigned short kSubLanguage_Portuguese = 0x02;
constexpr unsigned short kSubLanguage_Portuguese_Brazilian = 0x01;
constexpr unsigned short kSubLanguage_Serbian_Latin = 0x02;
constexpr unsigned short kSubLanguage_Serbian_Cyrillic = 0x03;
constexpr unsigned short kSubLanguage_Spanish = 0x01;
constexpr unsigned short kSubLanguage_Spanish_Mexican = 0x02;
constexpr unsigned short kSubLanguage_Spanish_Modern = 0x03;
constexpr unsigned short kSubLanguage_Spanish_Guatemala = 0x04;
constexpr unsigned short kSubLanguage_Spanish_Costa_Rica = 0x05;
constexpr unsigned short kSubLanguage_Spanish_Panama = 0x06;
constexpr unsigned short kSubLanguage_Spanish_Dominican_Republic = 0x07;
constexpr unsigned short kSubLanguage_Spanish_Venezuela = 0x08;
constexpr unsigned short kSubLanguage_Spanish_Colombia = 0x09;
constexpr unsigned short kSubLanguage_Spanish_Peru = 0x0A;
constexpr unsigned short kSubLanguage_Spanish_Argentina = 0x0B;
constexpr unsigned short kSubLanguage_Spanish_Ecuador = 0x0C;
constexpr unsigned short kSubLanguage_Spanish_Chile = 0x0D;
constexpr unsigned short kSubLanguage_Spanish_Uruguay = 0x0E;
constexpr unsigned short kSubLanguage_Spanish_Paraguay = 0x0F;
constexpr unsigned short kSubLanguage_Spanish_Bolivia = 0x10;
constexpr unsigned short kSubLanguage_Spanish_El_Salvador = 0x11;
constexpr unsigned short kSubLanguage_Spanish_Honduras = 0x12;
constexpr unsigned short kSubLanguage_Spanish_Nicaragua = 0x13;
constexpr unsigned short kSubLanguage_Spanish_Puerto_Rico = 0x14;
constexpr unsigned short kSubLanguage_Swedish = 0x01;
constexpr unsigned short kSubLanguage_Swedish_Finland = 0x02;
constexpr unsigned short kSubLanguage_Urdu_Pakistan = 0x01;
constexpr unsigned short kSubLanguage_Urdu_India = 0x02;
constexpr unsigned short kSubLanguage_Uzbek_Latin = 0x01;
constexpr unsigned short kSubLanguage_Uzbek_Cyrillic = 0x02;
///@}

}  // namespace Ostra

#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "SMC/SMCException.h"
#include "SMC/SMCParamStruct.h"

/// One connection to the System Management Controller, which keeps the machine's fans,
/// temperatures and power readings under four-character keys.
///
/// Opened on construction and closed on destruction. Every failure is thrown as an SMCException;
/// nothing is retried. Thread: one at a time for one object; threads use objects of their own.
class SMC {
 public:
  SMC();

  /// Opens a connection and resolves the keys that sample() is to read, in this order; a name
  /// given twice is sampled twice. Throws if a name is malformed or its key is no two-byte key;
  /// the connection then stays open until the process ends.
  explicit SMC(const std::list<std::string>& keys);

  /// Closes the connection. Throws if the driver refuses, unless another exception is on its way.
  // NOLINTNEXTLINE(bugprone-exception-escape): a refused close is to reach the owner
  ~SMC() noexcept(false);

  SMC(const SMC&) = delete;
  SMC& operator=(const SMC&) = delete;

  /// Whether the machine has a controller. True as well if that cannot be told.
  static bool exists();

  // Names, types and encodings: no connection takes part.

  /// The code of a key or type name. Throws unless `name` has four characters.
  static smc_code key(const std::string& name);
  /// The four characters of a code, zero bytes included.
  static std::string name(const smc_code& code);

  // A type's family is told by its first two characters alone.
  static bool is_unsigned_int(const smc_code& type);
  static bool is_signed_int(const smc_code& type);
  static bool is_fixed_point(const smc_code& type);
  static bool is_signed_point(const smc_code& type);

  /// Bytes of an integer type: 1, 2 or 4. Throws for every other type.
  static int integer_size(const smc_code& type);
  /// 0 to 15. Throws for what is not one of 0-9 and a-f.
  static int single_ascii_hex_to_int(char digit);
  /// Integer bits of an "fp" or "sp" type, from its third character. Throws if a digit is none.
  /// Asserts that it is such a type, and that its bits add up to 16 ("sp": 15, and the sign).
  static int fixed_point_integer_width(const smc_code& type);

  /// Two big-endian bytes, unsigned.
  unsigned short unpack_short(const unsigned char* bytes) const;
  /// The value of two bytes of type "fp88", "fpe2" or "sp78". Throws for another width, asserts
  /// that the type is "fp" or "sp".
  static float unpack_fixed_point(const unsigned char* bytes, const smc_code& type);
  /// The value of two bytes of type "sp78": the sign is the integer part's alone, and the
  /// fraction is always added (0x81 0x80 is -0.5). Throws for another width.
  static float unpack_signed_point(const unsigned char* bytes, const smc_code& type);

  /// Encodes `value` in as many bytes as the type has: the float for "fpe2" alone, the integers
  /// for an integer type of either signedness. Throws, with nothing written, if the type cannot
  /// hold it; a negative float is not refused and leaves the low 16 bits of four times its value.
  /// A float truncates toward zero and saturates, and NaN is 0.
  static void pack(unsigned char* bytes, float value, const smc_code& type);
  static void pack(unsigned char* bytes, unsigned int value, const smc_code& type);
  static void pack(unsigned char* bytes, int value, const smc_code& type);

  /// Encodes `value` by the pack of the type's family, "ui", "si" or "fp". Throws for any other.
  /// A float goes to an integer type as pack's floats do, a negative one to "ui" as 0; int and
  /// unsigned int stand for each other by their bits.
  static void pack_with_cast(unsigned char* bytes, float value, const smc_code& type);
  static void pack_with_cast(unsigned char* bytes, int value, const smc_code& type);
  static void pack_with_cast(unsigned char* bytes, unsigned int value, const smc_code& type);

  // The connection and its transactions.

  /// Finds the controller's service, opens a connection to it and shakes hands.
  static unsigned int get_port();
  /// Shakes hands and closes. If the hand-shake fails, the connection stays open.
  static void release_port(const unsigned int& port);

  /// One structure call. Asserts that both records are there.
  void call(int selector, SMCParamStruct* in, SMCParamStruct* out);

  /// Reads a key's data bytes into `out`. The reply's result byte is not looked at.
  void read(const smc_key_data& key, SMCParamStruct& out);
  /// Bytes of a key; 0 if the controller has no such key.
  std::uint32_t get_key_size(const smc_code& key);
  /// What the controller says of a key. Throws unless that is a key of two bytes.
  smc_key_info get_key_infodata(const smc_code& key);
  /// The first two bytes of a key, of whatever type.
  unsigned short get_short(const smc_key_data& key);
  /// The value of an "fp88", "fpe2" or "sp78" key; see unpack_fixed_point for all others.
  float get_float(const smc_key_data& key);

  /// Writes `value`, encoded by pack_with_cast. What the type cannot hold is not sent.
  void write(const smc_key_data& key, float value);
  void write(const smc_key_data& key, int value);
  void write(const smc_key_data& key, unsigned int value);

  // The fans, each named by its target-speed key: "F0Tg", "F1Tg" and "F2Tg". Throws for others.

  /// The fan's bit in the force register.
  unsigned short fan_mask(const std::string& fan) const;
  /// The name of the fan's maximum-speed key.
  std::string fan_max(const std::string& fan) const;

  /// Forces a fan to `rpm`, 0 to 65535 and what its target key can hold. The fan is forced before
  /// its target is written, and stays forced if that fails.
  void set_fan(const std::string& fan, unsigned int rpm);
  /// Forces a fan to its maximum speed.
  void set_fan(const std::string& fan);
  /// Gives a fan back to the controller's automatic control; its target is left as it is.
  void default_fan(const std::string& fan);

  /// Replaces `samples` by the present value of every key given to the constructor, in that
  /// order. If one fails, the values before it are in the list and nothing after it.
  void sample(std::list<float>& samples);

 private:
  smc_key_info ask_key_info(const smc_code& key);
  smc_key_data resolve(const std::string& name);
  void send_write(SMCParamStruct& request);

  unsigned int connection;
  std::list<smc_key_data> sampled_keys;
};

#include "vorn/machine_notes.h"

#include <string>
#include <vector>

#include "support/machine_fixture.h"

namespace {

using Kinds = std::vector<NoteKind>;

Kinds kinds_of(const Notes& notes) {
  Kinds kinds;
  for (const Note& note : notes) {
    kinds.push_back(note.kind);
  }
  return kinds;
}

class MachineNotes : public MachineFixture {};

TEST_F(MachineNotes, HaveNothingToSayOfKeysThatCanBeUsed) {
  EXPECT_TRUE(notes_on_sampling(ask_machine({"PC0C", "TC0D"}, KeyUse::sampling)).empty());
  const MachineFacts fans = ask_machine({"F0Tg", "F1Tg", "F2Tg"}, KeyUse::fans);
  EXPECT_TRUE(notes_on_fans(fans).empty());
  EXPECT_TRUE(notes_on_pstate(fans).empty());
}

TEST_F(MachineNotes, NameEachKeyThatCannotBeSampledAndWhy) {
  controller->add_key("FCnt", "ui8 ", 1);
  const Notes notes =
      notes_on_sampling(ask_machine({"XXXX", "PC0C", "PC0", "FCnt"}, KeyUse::sampling));
  ASSERT_EQ(kinds_of(notes),
            (Kinds{NoteKind::key_unknown, NoteKind::key_unknown, NoteKind::key_not_sampled}));
  EXPECT_EQ(notes[0].text, "this machine has no key \"XXXX\"; vorn-keys lists those that it has");
  EXPECT_EQ(notes[1].text, "\"PC0\" is no key: a key has four characters; vorn-keys lists them");
  EXPECT_EQ(notes[2].text,
            "\"FCnt\" cannot be sampled: it has not two bytes; vorn-keys lists the keys with their "
            "sizes");
}

TEST_F(MachineNotes, NameAKeyOfATypeThatSamplingAborts) {
  controller->add_key("FS! ", "ui16", 2);
  const Notes notes = notes_on_sampling(ask_machine({"FS! ", "PC0C"}, KeyUse::sampling));
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].text,
            "\"FS! \" cannot be sampled: it is no number with a fixed point (fp.. or sp..); "
            "vorn-keys lists the keys with their types");
}

TEST_F(MachineNotes, NameAFanThatTheMachineOrTheProgramDoesNotKnow) {
  for (const char* name : {"F3Tg", "TC0D", "fan"}) {
    const Notes notes = notes_on_fans(ask_machine({"F0Tg", name}, KeyUse::fans));
    ASSERT_EQ(kinds_of(notes), Kinds{NoteKind::key_unknown}) << name;
    EXPECT_NE(notes[0].text.find(std::string("\"") + name + "\""), std::string::npos);
  }
}

TEST_F(MachineNotes, OfAMachineWithoutAControllerSayWhatToRunInstead) {
  kx::install_machine({});
  const MachineFacts machine = ask_machine({"PC0C"}, KeyUse::sampling);
  EXPECT_FALSE(machine.controller);
  ASSERT_EQ(kinds_of(notes_on_sampling(machine)), Kinds{NoteKind::no_controller});
  EXPECT_NE(notes_on_sampling(machine)[0].text.find("vorn-sim"), std::string::npos);
  EXPECT_NE(notes_on_fans(machine)[0].text.find("-s 0"), std::string::npos);
}

TEST_F(MachineNotes, OfAMachineWithoutAPowerPluginSayWhatToRunInstead) {
  kx::install_machine({{controller, {}}});
  const MachineFacts machine = ask_machine({"F0Tg"}, KeyUse::fans);
  EXPECT_TRUE(notes_on_fans(machine).empty());
  ASSERT_EQ(kinds_of(notes_on_pstate(machine)), Kinds{NoteKind::no_power_plugin});
}

TEST_F(MachineNotes, OfASetUpNameTheCauseOfWhatFailedAlone) {
  kx::install_machine({{controller, {}}});
  const MachineFacts machine = ask_machine({"F0Tg"}, KeyUse::fans);
  EXPECT_TRUE(notes_on_failed_setup(PrivilegedSetting::fans, machine).empty());
  EXPECT_EQ(kinds_of(notes_on_failed_setup(PrivilegedSetting::pstate, machine)),
            Kinds{NoteKind::no_power_plugin});
}

TEST_F(MachineNotes, AskingWritesNoKey) {
  ask_machine({"F0Tg", "F1Tg"}, KeyUse::fans);
  EXPECT_TRUE(written_to("FS! ").empty());
  EXPECT_TRUE(written_to("F0Tg").empty());
}

// What failed has been printed by then; nothing is said of what is not known.
TEST_F(MachineNotes, OfAControllerThatDoesNotAnswerSayNothing) {
  controller->answer(0, {kKxReturnIOError, {}, {}, {}});
  EXPECT_TRUE(notes_on_sampling(ask_machine({"XXXX"}, KeyUse::sampling)).empty());
}

}  // namespace

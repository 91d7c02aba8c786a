#include <gtest/gtest.h>

#include "program/vorn_program.h"

// The program's whole output for every way in which it ends before a run.

namespace {

using program::As;
using program::Outcome;

constexpr const char* kHelp =
    "Usage: vorn --help --version --noisy --monitor --invert --monrate <r>\n"
    "\t--output <o> --cores <c> --bind <b> --frequency <f> --fanfrequency <F>\n"
    "\t--key <k> --fan <a> --rpm <s> --time <t> --pstate <p> --sinusoid <z>\n"
    "\t--triangle <e> --workload <w>\n"
    "   -h | --help           displays this help message and exits\n"
    "   -v | --version        displays the program version and exits\n"
    "   -n | --noisy          display a status message describing the run\n"
    "   -m | --monitor        run an SMC monitoring thread\n"
    "   -i | --invert\t\t  flip power waveforms\n"
    "   -r | --monrate <r>    sample the SMC at rate <r> (Hz)\n"
    "   -o | --output <o>     write SMC samples to file <o>\n"
    "   -c | --cores <c>      launch <c> threads (default: one per core)\n"
    "   -b | --bind <b>       bind all threads to core <b>\n"
    "   -f | --frequency <f>  run a timing thread at frequency <f>\n"
    "   -k | --key <k>        monitor SMC key <k>\n"
    "   -a | --fan <a>        configure fan <a> (superuser)\n"
    "   -s | --rpm <s>        set all fans to run at <s> RPM (superuser)\n"
    "   -t | --time <t>       run for <t> seconds, then exit\n"
    "   -p | --pstate <p>     force the processor to P-state <p> (superuser)\n"
    "   -z | --sinusoid <z>   run PWM sinusoid at frequency <z> (Hz)\n"
    "   -e | --triangle <e>   run PWM triangle at frequency <e> (Hz)\n"
    "   -w | --workload <w>   run one of the following workloads:\n"
    "\t\"bspin\"\tblocking spin loop\n"
    "\t\"spin\"\tminimal spin loop (default)\n";

Outcome run(std::vector<std::string> arguments) {
  return program::run(vorn(std::move(arguments), As::kOrdinaryUser));
}

TEST(CommandLine, HelpIsPrintedOnStandardErrorWithStatusZero) {
  for (const char* option : {"-h", "--help"}) {
    const Outcome outcome = run({option});
    EXPECT_EQ(outcome.err, kHelp);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(CommandLine, VersionIsPrintedOnStandardErrorWithStatusZero) {
  for (const char* option : {"-v", "--version"}) {
    const Outcome outcome = run({option});
    EXPECT_EQ(outcome.err, "Vorn 0.2i 24August2006\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 0);
  }
}

TEST(CommandLine, HelpGoesByTheNameThatTheProgramWasCalledBy) {
  program::Command command = vorn({"-h"}, As::kOrdinaryUser);
  command.called = "/opt/bin/vorn";
  EXPECT_TRUE(program::run(command).err.starts_with("Usage: /opt/bin/vorn --help"));
}

TEST(CommandLine, OptionsBehindVersionAreNotLookedAt) {
  const Outcome outcome = run({"-v", "-x"});
  EXPECT_EQ(outcome.err, "Vorn 0.2i 24August2006\n");
  EXPECT_EQ(outcome.status, 0);
}

TEST(CommandLine, AnInvalidOptionBeforeVersionEndsWithStatus255) {
  const Outcome outcome = run({"-x", "-v"});
  EXPECT_EQ(outcome.err, std::string("vorn: invalid option -- 'x'\n") + kHelp);
  EXPECT_EQ(outcome.status, 255);
}

TEST(CommandLine, AnInvalidValueEndsWithTheHelpAndStatus255) {
  for (const char* value : {"0", "-2", "4x", "", "0x80000000"}) {
    const Outcome outcome = run({"-c", value});
    EXPECT_EQ(outcome.err, std::string("vorn: note: -c (--cores) does not take \"") + value +
                               "\"; it takes a whole number from 1 to 2147483647\n" + kHelp);
    EXPECT_EQ(outcome.status, 255) << value;
  }
}

TEST(CommandLine, AWordThatIsNoOptionEndsWithTheHelpAndStatus255) {
  const Outcome outcome = run({"-t", "1", "now"});
  EXPECT_EQ(outcome.err, std::string("vorn: note: \"now\" belongs to no option; each option begins "
                                     "with \"-\" or \"--\"\n") +
                             kHelp);
  EXPECT_EQ(outcome.status, 255);
}

TEST(CommandLine, AnUnknownWorkloadIsNamedBeforeTheHelp) {
  const Outcome outcome = run({"-w", "spin", "-w", "nosuch"});
  EXPECT_EQ(outcome.err, std::string("Unknown workload \"nosuch\"\n") + kHelp);
  EXPECT_EQ(outcome.status, 255);
}

}  // namespace

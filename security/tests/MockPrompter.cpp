// A user who answers the keyring when it asks for its password: with the arguments, one after
// another, "-" for a refusal and "+2500" for 2500 milliseconds of thinking. Says its name on the
// bus in a line, and goes when its input ends.
#define GCR_API_SUBJECT_TO_CHANGE
#include <gcr/gcr-base.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv)
{
    char const* const name = gcr_mock_prompter_start();
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-") == 0)
            gcr_mock_prompter_expect_password_cancel();
        else if (argv[i][0] == '+')
            gcr_mock_prompter_set_delay_msec(static_cast<guint>(std::atoi(argv[i])));
        else
            gcr_mock_prompter_expect_password_ok(argv[i], nullptr);
    }
    std::printf("%s\n", name);
    std::fflush(stdout);
    while (std::getchar() != EOF) {}
    gcr_mock_prompter_stop();
    return 0;
}

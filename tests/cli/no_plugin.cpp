// A module that is no plug-in: it lacks the function that plug-ins export.
extern "C" __attribute__((visibility("default"))) int GetNothing();

int GetNothing()
{
    return 0;
}

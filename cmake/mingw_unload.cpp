// g++'s library sets memory aside for exceptions that are raised when there is none left. Each module that it is linked
// into has its own, 70 KiB, and would keep it when it is unloaded: three times for each call of a host.

namespace __gnu_cxx {
void __freeres();
}

namespace {

[[gnu::destructor]] void GiveBackExceptionPool() {
  __gnu_cxx::__freeres();
}

}  // namespace

// Nothing in it is ever asked for.

extern "C" void FixedCertificateLibrary() {}

// The certificate library. It can be loaded, and has no entry points: this printer keeps neither passwords
// nor certificates.

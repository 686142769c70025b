# What the core stands on; the README gives a reason for each. Installed beside the package file of a static libkaleo, whose users need
# to link all of it.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(CURL REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(simdjson REQUIRED)
find_package(fmt REQUIRED)
find_package(JPEG REQUIRED)
find_package(GIF REQUIRED)
pkg_check_modules(spng REQUIRED IMPORTED_TARGET GLOBAL spng)
pkg_check_modules(cbor REQUIRED IMPORTED_TARGET GLOBAL libcbor)

# The same for kaleo.pc.
set(KALEO_PKGCONFIG_MODULES sqlite3 libcurl libcrypto icu-i18n icu-uc simdjson fmt libjpeg libgif spng libcbor)

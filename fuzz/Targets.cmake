# The fuzz targets, shared by the libFuzzer build (fuzz/) and the replay tests (tests/fuzz/).
set(KV_FUZZ_TARGETS mime_whole mime_structure received_fields address pop3_reply sql_dialect)
# The MIME readers also start from the real messages the other tests read.
set(KV_FUZZ_MAIL_SEEDS ${PROJECT_SOURCE_DIR}/tests/data/mime ${PROJECT_SOURCE_DIR}/tests/data/viewer)
set(KV_FUZZ_MAIL_TARGETS mime_whole mime_structure received_fields)

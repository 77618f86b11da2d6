"""Driver records to lines, end to end: one script of records of every kind,
played by the driver's stand-in to the agent running as a service, and the
lines it wrote to zent_mpnp (with the local time in front, in arrival order)
and to one file each under the suite's Misc\\KLF_IPRODUCT_ZENT. Every
expected line is written out by hand from the column rules; the main log's
time prefix comes from time.localtime."""
from dataclasses import dataclass

import pytest

from driver_records import (ACK, CWR, ECE, FIN, FLAG_NULL_EXTRA, FLAG_RECORD_DATA_POINTER, ICMP, LAYER_COLUMN2,
                            LAYER_COLUMN3, PSH, RST, SYN, TCP, UDP, URG, entry, ethernet, icmp, ipv4, ipv6, tcp, udp)
from event_pipeline import FIRST_TIME, fresh_event_agent, message, stamped, time_prefix

# trailerValue 0, then the second stamp and the first, in microseconds.
END = ", 0, 1700000001654321, 1700000000123456\r\n"
SRC = "00:1a:2b:3c:4d:5e"
DST = "ff:ff:ff:ff:ff:ff"
COLUMN4 = bytes([1, 2, 3, 4, 5, 6, 7, 8])
COLUMN19 = bytes.fromhex("00112233445566778899AABBCCDDEEFF")


@dataclass
class Case:
    name: str
    block: bytes
    line: str
    extra: bytes = b""
    data: bytes = b""
    flags: int = 0
    first_time: int = FIRST_TIME


CASES = [
    # --- frame types --------------------------------------------------------------------
    Case("arp_only_ethernet_leaves_runs_of_empty_columns", stamped(ethernet(SRC, DST, 0x0806), logId=1001),
         "f, 0, 1, , ARP, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1001, 0, , 0, 0, 0, 0, , , " + END),
    Case("ethernet_ip_type_without_ip_header", stamped(ethernet(SRC, DST, 0x0800), logId=1002),
         "f, 0, 1, , IP, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1002, 0, , 0, 0, 0, 0, , , " + END),
    Case("ethernet_revarp", stamped(ethernet(SRC, DST, 0x8035), logId=1003),
         "f, 0, 1, , RevARP, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1003, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("ethernet_netbeui", stamped(ethernet(SRC, DST, 0x8191), logId=1004),
         "f, 0, 1, , NetBEUI, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1004, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("ethernet_ipv6_type", stamped(ethernet(SRC, DST, 0x86DD), logId=1005),
         "f, 0, 1, , IPv6, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1005, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("ethernet_unknown_type_in_hex", stamped(ethernet(SRC, DST, 0x88CC), logId=1006),
         "f, 0, 1, , 0x88cc, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1006, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("ethernet_type_zero_prints_0", stamped(ethernet(SRC, DST, 0), logId=1007),
         "f, 0, 1, , 0, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, , , , , , , 0, 0, 0, 1007, 0, , 0, 0, 0, 0, , , " + END),
    Case("ethernet_type_ffff", stamped(ethernet("01:02:03:04:05:06", "00:00:00:00:00:00", 0xFFFF), logId=1008),
         "f, 0, 1, , 0xffff, 01 02 03 04 05 06, 00 00 00 00 00 00, , , , , , , 0, 0, 0, 1008, 0, , 0, 0, 0, 0, , , "
         + END),
    # --- TCP, UDP, ICMP over IPv4 and IPv6 ------------------------------------------------
    Case("tcp_syn_with_df_to_port_80",
         stamped(ethernet(SRC, DST, 0x0800), ipv4(TCP, "192.168.1.10", "10.0.0.1", total_length=60, df=True),
             tcp(49152, 80, SYN), logId=1009),
         "f, 0, 1, , IP, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, TCP, SYN DF=1, 192.168.1.10, 49152, 10.0.0.1, 80, "
         "0, 0, 0, 1009, 0, , 0, 0, 0, 0, , , " + END),
    Case("udp_without_flags_leaves_column_9_empty", stamped(ipv4(UDP, "10.1.2.3", "10.3.2.1"), udp(53, 5353), logId=1010),
         "f, 0, 1, , IP, , , UDP, , 10.1.2.3, 53, 10.3.2.1, 5353, 0, 0, 0, 1010, 0, , 0, 0, 0, 0, , , " + END),
    Case("ipv6_tcp_shows_the_tcp_flags_alone",
         stamped(ipv6(TCP, "2001:db8::1", "fe80::1:2"), tcp(443, 65535, ACK | PSH), logId=1011),
         "f, 0, 1, , IPv6, , , TCP, ACK PSH , 2001:db8:0:0:0:0:0:1, 443, fe80:0:0:0:0:0:1:2, 65535, "
         "0, 0, 0, 1011, 0, , 0, 0, 0, 0, , , " + END),
    Case("ipv6_udp_ports_and_addresses_at_their_limits",
         stamped(ipv6(UDP, "::", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"), udp(0, 65535), logId=1012),
         "f, 0, 1, , IPv6, , , UDP, , 0:0:0:0:0:0:0:0, 0, ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff, 65535, "
         "0, 0, 0, 1012, 0, , 0, 0, 0, 0, , , " + END),
    Case("icmpv6_gets_no_icmp_text_nor_ports",
         stamped(ethernet(SRC, DST, 0x86DD), ipv6(58, "fe80::a", "ff02::1"), icmp(135, 0), logId=1013),
         "f, 0, 1, , IPv6, 00 1A 2B 3C 4D 5E, FF FF FF FF FF FF, ICMPv6, , fe80:0:0:0:0:0:0:a, , ff02:0:0:0:0:0:0:1, , "
         "0, 0, 0, 1013, 0, , 0, 0, 0, 0, , , " + END),
    Case("ipv6_extension_header_shows_its_number", stamped(ipv6(44, "::1", "1::"), logId=1014),
         "f, 0, 1, , IPv6, , , 44, , 0:0:0:0:0:0:0:1, , 1:0:0:0:0:0:0:0, , 0, 0, 0, 1014, 0, , 0, 0, 0, 0, , , " + END),
    Case("ipv6_hop_by_hop_header_shows_0", stamped(ipv6(0, "::1", "1::"), logId=1015),
         "f, 0, 1, , IPv6, , , 0, , 0:0:0:0:0:0:0:1, , 1:0:0:0:0:0:0:0, , 0, 0, 0, 1015, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_every_flag_then_df", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2", df=True), tcp(1, 2, 0xFF), logId=1016),
         "f, 0, 1, , IP, , , TCP, CWR ECE URG ACK PSH RST SYN FIN DF=1, 1.1.1.1, 1, 2.2.2.2, 2, "
         "0, 0, 0, 1016, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_fin_alone_keeps_its_blank", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), tcp(1, 2, FIN), logId=1017),
         "f, 0, 1, , IP, , , TCP, FIN , 1.1.1.1, 1, 2.2.2.2, 2, 0, 0, 0, 1017, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_cwr_alone", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), tcp(1, 2, CWR), logId=1018),
         "f, 0, 1, , IP, , , TCP, CWR , 1.1.1.1, 1, 2.2.2.2, 2, 0, 0, 0, 1018, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_ece_alone", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), tcp(1, 2, ECE), logId=1019),
         "f, 0, 1, , IP, , , TCP, ECE , 1.1.1.1, 1, 2.2.2.2, 2, 0, 0, 0, 1019, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_urg_alone", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), tcp(1, 2, URG), logId=1020),
         "f, 0, 1, , IP, , , TCP, URG , 1.1.1.1, 1, 2.2.2.2, 2, 0, 0, 0, 1020, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_rst_alone", stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), tcp(1, 2, RST), logId=1021),
         "f, 0, 1, , IP, , , TCP, RST , 1.1.1.1, 1, 2.2.2.2, 2, 0, 0, 0, 1021, 0, , 0, 0, 0, 0, , , " + END),
    Case("tcp_without_transport_bit_has_no_flags_nor_ports",
         stamped(ipv4(TCP, "1.1.1.1", "2.2.2.2"), transportHeader=tcp(1, 2, SYN)["transportHeader"], logId=1022),
         "f, 0, 1, , IP, , , TCP, , 1.1.1.1, , 2.2.2.2, , 0, 0, 0, 1022, 0, , 0, 0, 0, 0, , , " + END),
    # The ICMP text runs straight into the IP flags, with no blank between.
    Case("icmp_echo_with_df", stamped(ipv4(ICMP, "192.168.0.1", "192.168.0.2", df=True), icmp(8, 0), logId=1023),
         "f, 0, 1, , IP, , , ICMP, Type:8 Code:0DF=1, 192.168.0.1, , 192.168.0.2, , 0, 0, 0, 1023, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("icmp_type_and_code_at_255", stamped(ipv4(ICMP, "192.168.0.1", "192.168.0.2"), icmp(255, 255), logId=1024),
         "f, 0, 1, , IP, , , ICMP, Type:255 Code:255, 192.168.0.1, , 192.168.0.2, , 0, 0, 0, 1024, 0, , 0, 0, 0, 0, , , "
         + END),
    Case("icmp_without_transport_bit_has_no_text", stamped(ipv4(ICMP, "192.168.0.1", "192.168.0.2"), logId=1025),
         "f, 0, 1, , IP, , , ICMP, , 192.168.0.1, , 192.168.0.2, , 0, 0, 0, 1025, 0, , 0, 0, 0, 0, , , " + END),
    # --- protocol names ---------------------------------------------------------------------
    Case("protocol_igmp", stamped(ipv4(2, "0.0.0.0", "255.255.255.255"), logId=1030),
         "f, 0, 1, , IP, , , IGMP, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1030, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_ggp", stamped(ipv4(3, "0.0.0.0", "255.255.255.255"), logId=1031),
         "f, 0, 1, , IP, , , GGP, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1031, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_pup", stamped(ipv4(12, "0.0.0.0", "255.255.255.255"), logId=1032),
         "f, 0, 1, , IP, , , PUP, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1032, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_idp", stamped(ipv4(22, "0.0.0.0", "255.255.255.255"), logId=1033),
         "f, 0, 1, , IP, , , IDP, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1033, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_icmpv6_over_ipv4", stamped(ipv4(58, "0.0.0.0", "255.255.255.255"), logId=1034),
         "f, 0, 1, , IP, , , ICMPv6, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1034, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_nd", stamped(ipv4(77, "0.0.0.0", "255.255.255.255"), logId=1035),
         "f, 0, 1, , IP, , , ND, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1035, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_0_as_a_number", stamped(ipv4(0, "0.0.0.0", "255.255.255.255"), logId=1036),
         "f, 0, 1, , IP, , , 0, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1036, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_78_as_a_number", stamped(ipv4(78, "0.0.0.0", "255.255.255.255"), logId=1037),
         "f, 0, 1, , IP, , , 78, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1037, 0, , 0, 0, 0, 0, , , " + END),
    Case("protocol_255_as_a_number", stamped(ipv4(255, "0.0.0.0", "255.255.255.255"), logId=1038),
         "f, 0, 1, , IP, , , 255, , 0.0.0.0, , 255.255.255.255, , 0, 0, 0, 1038, 0, , 0, 0, 0, 0, , , " + END),
    # --- IP flags -----------------------------------------------------------------------------
    Case("df_and_mf_without_full_text", stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", df=True, mf=True), udp(7, 9), logId=1040),
         "f, 0, 1, , IP, , , UDP, DF=1 MF=1, 10.0.0.1, 7, 10.0.0.2, 9, 0, 0, 0, 1040, 0, , 0, 0, 0, 0, , , " + END),
    Case("mf_alone_without_full_text_has_no_leading_blank",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", mf=True), udp(7, 9), logId=1041),
         "f, 0, 1, , IP, , , UDP, MF=1, 10.0.0.1, 7, 10.0.0.2, 9, 0, 0, 0, 1041, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_110_without_flags_offset_3_length_1500",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", total_length=1500, fragment=3), udp(7, 9), eventCode=110, logId=1042),
         "f, 0, 1, , IP, , , UDP, DF=0 MF=0 FragOffs=24 IPTotalLen=1500, 10.0.0.1, 7, 10.0.0.2, 9, "
         "0, 0, 110, 1042, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_110_with_mf",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", total_length=576, fragment=185, mf=True), udp(7, 9), eventCode=110,
             logId=1043),
         "f, 0, 1, , IP, , , UDP, DF=0 MF=1 FragOffs=1480 IPTotalLen=576, 10.0.0.1, 7, 10.0.0.2, 9, "
         "0, 0, 110, 1043, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_108_with_df_drops_the_flag_from_the_offset",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", total_length=40, df=True), udp(7, 9), eventCode=108, logId=1044),
         "f, 0, 1, , IP, , , UDP, DF=1 MF=0 FragOffs=0 IPTotalLen=40, 10.0.0.1, 7, 10.0.0.2, 9, "
         "0, 0, 108, 1044, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_112_highest_offset_and_length",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", total_length=65535, fragment=0x1FFF), udp(7, 9), eventCode=112,
             logId=1045),
         "f, 0, 1, , IP, , , UDP, DF=0 MF=0 FragOffs=65528 IPTotalLen=65535, 10.0.0.1, 7, 10.0.0.2, 9, "
         "0, 0, 112, 1045, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_112_with_df_and_mf",
         stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", total_length=20, fragment=1, df=True, mf=True), udp(7, 9),
             eventCode=112, logId=1046),
         "f, 0, 1, , IP, , , UDP, DF=1 MF=1 FragOffs=8 IPTotalLen=20, 10.0.0.1, 7, 10.0.0.2, 9, "
         "0, 0, 112, 1046, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_107_is_not_full", stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", fragment=3), udp(7, 9), eventCode=107,
                                      logId=1047),
         "f, 0, 1, , IP, , , UDP, , 10.0.0.1, 7, 10.0.0.2, 9, 0, 0, 107, 1047, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_113_is_not_full", stamped(ipv4(UDP, "10.0.0.1", "10.0.0.2", df=True), udp(7, 9), eventCode=113,
                                      logId=1048),
         "f, 0, 1, , IP, , , UDP, DF=1, 10.0.0.1, 7, 10.0.0.2, 9, 0, 0, 113, 1048, 0, , 0, 0, 0, 0, , , " + END),
    Case("event_110_over_ipv6_has_no_ip_flags", stamped(ipv6(UDP, "::1", "::2"), udp(1, 2), eventCode=110, logId=1049),
         "f, 0, 1, , IPv6, , , UDP, , 0:0:0:0:0:0:0:1, 1, 0:0:0:0:0:0:0:2, 2, 0, 0, 110, 1049, 0, , 0, 0, 0, 0, , , "
         + END),
    # --- columns 2 to 4 and 19 ------------------------------------------------------------------
    Case("layer_bit_0_prints_1_in_column_2", stamped(layerFlags=LAYER_COLUMN2, logId=1050),
         "f, 1, 1, , , , , , , , , , , 0, 0, 0, 1050, 0, , 0, 0, 0, 0, , , " + END),
    Case("layer_bit_1_prints_0_in_column_3", stamped(layerFlags=LAYER_COLUMN3, logId=1051),
         "f, 0, 0, , , , , , , , , , , 0, 0, 0, 1051, 0, , 0, 0, 0, 0, , , " + END),
    Case("layer_bits_0_and_1", stamped(layerFlags=LAYER_COLUMN2 | LAYER_COLUMN3, logId=1052),
         "f, 1, 0, , , , , , , , , , , 0, 0, 0, 1052, 0, , 0, 0, 0, 0, , , " + END),
    Case("no_layer_at_all", stamped(logId=1053),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1053, 0, , 0, 0, 0, 0, , , " + END),
    Case("column4_length_12_prints_8_bytes", stamped(column4Length=12, column4Bytes=COLUMN4, logId=1054),
         "f, 0, 1, 01 02 03 04 05 06 07 08, , , , , , , , , , 0, 0, 0, 1054, 0, , 0, 0, 0, 0, , , " + END),
    Case("column4_length_ffffffff_prints_8_bytes", stamped(column4Length=0xFFFFFFFF, column4Bytes=COLUMN4, logId=1055),
         "f, 0, 1, 01 02 03 04 05 06 07 08, , , , , , , , , , 0, 0, 0, 1055, 0, , 0, 0, 0, 0, , , " + END),
    Case("column4_length_8", stamped(column4Length=8, column4Bytes=COLUMN4, logId=1056),
         "f, 0, 1, 01 02 03 04 05 06 07 08, , , , , , , , , , 0, 0, 0, 1056, 0, , 0, 0, 0, 0, , , " + END),
    Case("column4_length_1", stamped(column4Length=1, column4Bytes=COLUMN4, logId=1057),
         "f, 0, 1, 01, , , , , , , , , , 0, 0, 0, 1057, 0, , 0, 0, 0, 0, , , " + END),
    Case("column4_length_0_is_empty", stamped(column4Length=0, column4Bytes=COLUMN4, logId=1058),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1058, 0, , 0, 0, 0, 0, , , " + END),
    Case("column19_length_16", stamped(column19Length=16, column19Bytes=COLUMN19, logId=1060),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1060, 0, 00112233445566778899AABBCCDDEEFF, 0, 0, 0, 0, , , " + END),
    Case("column19_length_17_prints_16_bytes", stamped(column19Length=17, column19Bytes=COLUMN19, logId=1061),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1061, 0, 00112233445566778899AABBCCDDEEFF, 0, 0, 0, 0, , , " + END),
    Case("column19_length_65535_prints_16_bytes", stamped(column19Length=65535, column19Bytes=COLUMN19, logId=1062),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1062, 0, 00112233445566778899AABBCCDDEEFF, 0, 0, 0, 0, , , " + END),
    Case("column19_length_1", stamped(column19Length=1, column19Bytes=COLUMN19, logId=1063),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1063, 0, 00, 0, 0, 0, 0, , , " + END),
    Case("column19_length_0_is_empty", stamped(column19Length=0, column19Bytes=COLUMN19, logId=1064),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1064, 0, , 0, 0, 0, 0, , , " + END),
    # --- numbers at their limits --------------------------------------------------------------------
    Case("numbers_at_their_highest",
         stamped(column14Value=4294967295, column15Value=32767, eventCode=32767, logId=2147483647,
             column18Value=2147483647, column20Value=65535, column21Value=4294967295, column23Value=65535,
             trailerValue=4294967295),
         "f, 0, 1, , , , , , , , , , , 4294967295, 32767, 32767, 2147483647, 2147483647, , 65535, 4294967295, 0, "
         "65535, , , , 4294967295, 1700000001654321, 1700000000123456\r\n"),
    Case("event_code_minus_32768_is_class_d_and_signed_numbers_at_their_lowest",
         stamped(column15Value=-32768, eventCode=-32768, logId=-2147483648, column18Value=-2147483648),
         "d, 0, 1, , , , , , , , , , , 0, -32768, -32768, -2147483648, -2147483648, , 0, 0, 0, 0, , , " + END),
    Case("event_code_minus_1_is_class_d", stamped(eventCode=-1, logId=1070),
         "d, 0, 1, , , , , , , , , , , 0, 0, -1, 1070, 0, , 0, 0, 0, 0, , , " + END),
    # --- column 22, the permuted record flags, and column 24 --------------------------------
    Case("record_flag_bit_0_is_32", stamped(recordFlags=0x01, column24Value=65535, logId=1081),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1081, 0, , 0, 0, 32, 0, , , " + END),
    Case("record_flag_bit_1_is_8_and_shows_column_24", stamped(recordFlags=0x02, column24Value=65535, logId=1082),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1082, 0, , 0, 0, 8, 0, 65535, , " + END),
    Case("record_flag_bit_2_is_16_and_shows_column_24", stamped(recordFlags=0x04, column24Value=65535, logId=1083),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1083, 0, , 0, 0, 16, 0, 65535, , " + END),
    Case("record_flag_bit_3_is_1", stamped(recordFlags=0x08, column24Value=65535, logId=1084),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1084, 0, , 0, 0, 1, 0, , , " + END),
    Case("record_flag_bit_4_is_2", stamped(recordFlags=0x10, column24Value=65535, logId=1085),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1085, 0, , 0, 0, 2, 0, , , " + END),
    Case("record_flag_bit_5_is_4", stamped(recordFlags=0x20, column24Value=65535, logId=1086),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1086, 0, , 0, 0, 4, 0, , , " + END),
    Case("record_flags_0_to_5_are_63", stamped(recordFlags=0x3F, column24Value=65535, logId=1087),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1087, 0, , 0, 0, 63, 0, 65535, , " + END),
    Case("record_flags_7_to_15_print_nothing", stamped(recordFlags=0xFF80, column24Value=65535, logId=1088),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1088, 0, , 0, 0, 0, 0, , , " + END),
    # --- payload, column 25 ------------------------------------------------------------------------
    Case("payload_of_4_bytes", stamped(recordFlags=0x02, payloadLength=4, logId=1090),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1090, 0, , 0, 0, 8, 0, 0, DEADBEEF, " + END,
         extra=bytes.fromhex("DEADBEEF")),
    Case("payload_of_1_byte", stamped(recordFlags=0x02, payloadLength=1, logId=1091),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1091, 0, , 0, 0, 8, 0, 0, 7F, " + END, extra=b"\x7f"),
    Case("payload_of_65344_bytes", stamped(recordFlags=0x02, payloadLength=65344, logId=1092),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1092, 0, , 0, 0, 8, 0, 0, " + "A5" * 65344 + ", " + END,
         extra=b"\xa5" * 65344),
    Case("payload_without_flag_bit_1_is_not_shown", stamped(recordFlags=0x04, payloadLength=4, logId=1093),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1093, 0, , 0, 0, 16, 0, 0, , " + END, extra=bytes.fromhex("DEADBEEF")),
    Case("payload_shorter_than_its_length_shows_what_came", stamped(recordFlags=0x02, payloadLength=10, logId=1094),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1094, 0, , 0, 0, 8, 0, 0, DEADBEEF, " + END,
         extra=bytes.fromhex("DEADBEEF")),
    Case("null_extra_pointer_brings_no_payload", stamped(recordFlags=0x02, payloadLength=4, logId=1095),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1095, 0, , 0, 0, 8, 0, 0, , " + END,
         extra=bytes.fromhex("DEADBEEF"), flags=FLAG_NULL_EXTRA),
    Case("payload_length_below_the_extra_bytes", stamped(recordFlags=0x02, payloadLength=2, logId=1096),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1096, 0, , 0, 0, 8, 0, 0, DEAD, " + END,
         extra=bytes.fromhex("DEADBEEF")),
    # --- data, column 26 ----------------------------------------------------------------------------
    Case("data_of_3_bytes", stamped(dataLength=3, logId=1100),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1100, 0, , 0, 0, 0, 0, , , 010203" + END, data=b"\x01\x02\x03"),
    Case("data_padded_with_zeros_to_its_length", stamped(dataLength=5, logId=1101),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1101, 0, , 0, 0, 0, 0, , , 0102000000" + END, data=b"\x01\x02"),
    Case("data_of_65535_bytes", stamped(dataLength=65535, logId=1102),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1102, 0, , 0, 0, 0, 0, , , " + "5A" * 65535 + END,
         data=b"\x5a" * 65535),
    Case("data_length_0_shows_no_data", stamped(dataLength=0, logId=1103),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1103, 0, , 0, 0, 0, 0, , , " + END, data=b"\x01\x02\x03"),
    Case("data_length_with_a_null_pointer_is_empty", stamped(dataLength=4, dataPointer=0, logId=1104),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1104, 0, , 0, 0, 0, 0, , , " + END,
         data=b"\x01\x02\x03\x04", flags=FLAG_RECORD_DATA_POINTER),
    Case("payload_and_data", stamped(recordFlags=0x02, payloadLength=2, dataLength=2, logId=1105),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1105, 0, , 0, 0, 8, 0, 0, CAFE, BEEF" + END,
         extra=b"\xca\xfe", data=b"\xbe\xef"),
    # --- time stamps ----------------------------------------------------------------------------------
    Case("microseconds_beyond_a_second_move_the_main_log_time",
         stamped(timeMicroseconds=4294967295, logId=1110),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1110, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700004294967295\r\n",
         first_time=1700004294967295),
    Case("stamps_at_their_highest",
         stamped(timeSeconds=4294967295, timeMicroseconds=999999, secondSeconds=4294967295,
             secondMicroseconds=4294967295, logId=1111),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1111, 0, , 0, 0, 0, 0, , , , 0, 4294971589967295, 4294967295999999\r\n",
         first_time=4294967295999999),
    Case("stamps_at_zero",
         stamped(timeSeconds=0, timeMicroseconds=0, secondSeconds=0, secondMicroseconds=0, logId=1112),
         "f, 0, 1, , , , , , , , , , , 0, 0, 0, 1112, 0, , 0, 0, 0, 0, , , , 0, 0, 0\r\n", first_time=0),
]
# Records the agent refuses: more extra bytes than its copy holds.
REFUSED = stamped(recordFlags=0x02, payloadLength=65345, logId=1120)


def main_line(case):
    return time_prefix(case.first_time) + case.line.encode("ascii")


@pytest.fixture(scope="module")
def played():
    """All records in one script, the refused one among them."""
    host = fresh_event_agent()
    entries = [entry(case.block, extra=case.extra, data=case.data, flags=case.flags) for case in CASES[:40]]
    entries.append(entry(REFUSED, extra=b"\x00" * 65345))
    entries += [entry(case.block, extra=case.extra, data=case.data, flags=case.flags) for case in CASES[40:]]
    host.play(entries)
    return host, host.main_log(), list(host.single_record_files().values())


@pytest.mark.parametrize("case", CASES, ids=[case.name for case in CASES])
def test_single_record_file_holds_exactly_the_line(played, case):
    _, _, files = played
    assert files.count(case.line.encode("ascii")) == 1


@pytest.mark.parametrize("case", CASES, ids=[case.name for case in CASES])
def test_main_log_line_starts_with_the_local_time_of_the_first_stamp(played, case):
    _, main_log, _ = played
    assert main_log.count(main_line(case)) == 1


def test_main_log_holds_every_line_in_arrival_order(played):
    _, main_log, _ = played
    assert main_log == b"".join(main_line(case) for case in CASES)


def test_one_file_per_written_record_and_nothing_else(played):
    _, _, files = played
    assert sorted(files) == sorted(case.line.encode("ascii") for case in CASES)


def test_record_with_more_extra_bytes_than_the_copy_holds_is_refused(played):
    host, _, _ = played
    host.wait_for_log(message("Refusing log id=1120: 65345 extra bytes") + r"(?:.*\r\n)*?.*"
                      + message("WriteLogData returned false"))


def test_payload_shorter_than_its_length_is_logged(played):
    host, _, _ = played
    host.wait_for_log(message("log id=1094: payload length 10, 4 bytes came"))


def test_null_extra_pointer_is_logged_as_no_bytes(played):
    host, _, _ = played
    host.wait_for_log(message("log id=1095: payload length 4, 0 bytes came"))


def test_data_length_without_a_pointer_is_logged(played):
    host, _, _ = played
    host.wait_for_log(message("log id=1104: 4 data bytes without a pointer"))

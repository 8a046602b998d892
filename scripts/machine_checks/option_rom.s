# An option ROM with a BIOS32 directory and a PCI BIOS, for the place where SeaBIOS puts the first one. The bitmaps of its
# routing table show what the chipset answers through the configuration ports.
	.intel_syntax noprefix
	.code32
	.text
	.set	BASE, 0xC0000
rom:

	.set	PORT_DELAY, 0x80
	.set	PORT_ADDRESS, 0xCF8		# configuration mechanism 1
	.set	PORT_DATA, 0xCFC
	.set	PORT_RESET, 0xCF9
	.set	ROUTE_SIZE, 0			# fields of the caller's routing buffer
	.set	ROUTE_DATA, 2
	.set	LINK, 2				# of an entry of 16 bytes
	.set	BITMAP, 3

	.byte	0x55, 0xAA, 2			# the size in blocks of 512 bytes
	.code16
	retf					# there is nothing to initialise
	.code32

	.balign	16				# the directory's header
	.ascii	"_32_"
	.set	ADDRESS, directory - rom + BASE
	.long	ADDRESS
	.byte	0, 1				# revision, length
	.byte	(-0x5F - 0x33 - 0x32 - 0x5F - ADDRESS - (ADDRESS >> 8) - (ADDRESS >> 16) - 1) & 0xFF
	.fill	5, 1, 0

# Base, size and offset of the service $PCI; AL 0x80 for others.
directory:
	pushfd
	cmp	eax, 0x49435024			# "$PCI"
	mov	al, 0x80
	jne	1f
	mov	al, 0
	mov	ebx, BASE
	mov	ecx, 0x10000
	mov	edx, offset pci_bios - rom
1:	popfd
	retf

pci_bios:
	cmp	al, 0x8E
	je	get_routing
	push	0x30
	pop	es
	mov	edx, 0x20494350			# "PCI "
	xor	ah, ah				# clears carry
	ret

get_routing:
	.ifdef	ASK_FOR_RESET
	mov	dx, PORT_RESET
	mov	al, 6				# resets the machine
	out	dx, al
	.endif
	mov	word ptr [edi + ROUTE_SIZE], offset table_end - table
	mov	edi, [edi + ROUTE_DATA]
	mov	ebx, edi
	lea	esi, table
	mov	ecx, offset table_end - table
	rep	movsb

	out	PORT_DELAY, al
	mov	dx, PORT_ADDRESS
	mov	eax, 0x80000000			# the host bridge's vendor, and its device
	out	dx, eax
	mov	dx, PORT_DATA
	in	ax, dx
	mov	[ebx + BITMAP], ax
	in	eax, dx
	shr	eax, 16
	mov	[ebx + 16 + BITMAP], ax

	mov	dx, PORT_ADDRESS
	mov	eax, 0x80000008			# its base class
	out	dx, eax
	mov	dx, PORT_DATA + 3
	in	al, dx
	mov	[ebx + 32 + LINK], al
	mov	dx, PORT_ADDRESS
	mov	eax, 0x80000004			# its command: memory, bus master, and in the high byte no interrupt
	out	dx, eax
	mov	dx, PORT_DATA
	mov	ax, 0x406
	out	dx, ax
	in	ax, dx
	mov	[ebx + 32 + BITMAP], ax
	xor	ah, ah
	ret

table:						# bus, device, link of INTA#, bitmap, ..., slot
	.byte	0, 0x08, 0x60, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0
	.byte	0, 0x10, 0x61, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0
	.byte	0, 0x18, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0
table_end:
	.org	2 * 512

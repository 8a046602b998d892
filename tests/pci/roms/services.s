# A ROM with a PCI BIOS, behind directory headers that must be passed over.
	.include "rom.inc"

	.set	PORT_DEBUG, 0x80
	.set	ROUTE_SIZE, 0			# fields of the caller's routing buffer
	.set	ROUTE_DATA, 2

trap:						# nobody may come here
	out	PORT_DEBUG, al
	mov	al, 0
	ret

stranger:					# a directory that knows no service
	mov	al, 0x80
	retf

directory:
	directory_for pci_bios

pci_bios:
	push	ebp
	mov	ebp, esp
	cmp	ax, 0xB181
	je	present
	cmp	ax, 0xB18E
	je	get_routing
	mov	ah, 0x81			# function not supported
	stc
	leave
	retf

present:
	push	0x30
	pop	es
	mov	edx, 0x20494350			# "PCI "
	mov	bx, 0x0210
	xor	ah, ah				# clears carry
	leave
	retf

# EDI: the caller's buffer. Copies the table and returns the exclusive interrupts, read from the chipset, in BX.
get_routing:
	push	ds
	push	es
	push	esi
	push	edi
	push	ecx
	push	edx
	push	ss
	pop	ds
	cld
	movzx	ecx, word ptr ds:[edi + ROUTE_SIZE]
	mov	word ptr ds:[edi + ROUTE_SIZE], offset table_end - table
	mov	ah, 0x89			# buffer too small
	cmp	ecx, offset table_end - table
	jb	1f				# with carry set
	mov	edi, [edi + ROUTE_DATA]
	lea	esi, table
	mov	cx, (table_end - table) / 2
	rep	movsw
	push	eax
	mov	eax, 0x80000060
	mov	dx, 0xCF8
	out	dx, eax
	mov	dl, 0xFC
	in	ax, dx
	xchg	ax, bx
	pop	eax
	xor	ah, ah
1:	pop	edx
	pop	ecx
	pop	edi
	pop	esi
	pop	es
	pop	ds
	leave
	retf

	.balign	16
table:
	.byte	0x00, 0xF8, 0x60, 0xB8, 0xDE, 0x61, 0xB8, 0xDE, 0x62, 0xB8, 0xDE, 0x63, 0xB8, 0xDE, 0x00, 0x00
	.byte	0x05, 0x08, 0x62, 0x00, 0x0C, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00
table_end:

	header	trap, error=1
	header	trap, revision=1
	header	trap, length=0
	header	stranger
	header	directory
	finish
